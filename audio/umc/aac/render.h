// From a parsed block to interleaved samples.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/decoder_memory.h"
#include "audio/umc/aac/decoder_state.h"

namespace UMC::aac {

// Finds out which channels the parsed block carries: those of the program where it has all the block's
// elements, else those that the order of its elements tells. When they are not those of the block before, all
// channels start anew. A block without channels goes on with the layout before. False when there are no
// channels at all.
bool AdoptLayout(LockedMemory& memory);

// Makes `state.mix` for the layout and the channels asked for.
void UpdateMix(DecoderState& state);

// Makes the areas that the stream needs by now, the parsed block included. False without memory.
bool MakeAreas(LockedMemory& memory);

// Forgets the signal and all that was learnt from it: the stream is what its configuration says.
void Restart(LockedMemory& memory);

// The same for a block that is lost: what follows it starts anew, by the headers that were there before.
void PassLostBlock(LockedMemory& memory);

// Finds out whether the parsed block, whose bytes are `data`, starts spectral band replication: the first
// block by any payload of it, later ones (where damage may look like one) by a payload that makes sense. From
// then on all blocks have it.
void AdoptSbr(LockedMemory& memory, const std::uint8_t* data, std::size_t size);

// The output does not depend on blocks before those since Reset, lost ones included, but for an overlap of
// one block. False as long as there are none.
bool IsSettled(const LockedMemory& memory);

// Spectral band replication is at work, were it only to keep the sampling frequency: it is signalled, a block
// carried it, or twice the core's frequency is asked for.
bool HasSbr(const DecoderState& state);

// Of the output, hertz.
std::uint32_t OutputFrequency(const DecoderState& state);

// Bytes that a block becomes. Before the parsed block is rendered, those that it becomes at most: it may be
// the first one with parametric stereo.
std::size_t RenderedBytes(const DecoderState& state);
std::size_t LargestRenderedBytes(const DecoderState& state, const RawDataBlock& block);

// Decodes the parsed block, whose bytes are `data`, into `output`, which has room for LargestRenderedBytes.
void RenderBlock(LockedMemory& memory, const std::uint8_t* data, std::size_t size, std::int16_t* output);

}  // namespace UMC::aac
