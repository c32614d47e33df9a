// Renders a parsed block to interleaved samples.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/decoder_memory.h"
#include "audio/umc/aac/decoder_state.h"

namespace UMC::aac {

// Determines which channels the parsed block carries: those of the program if it has all of the block's
// elements, otherwise those implied by the order of its elements. If they differ from the previous block's,
// all channels are reset. A block without channels keeps the previous layout. False if there are no channels
// at all.
bool AdoptLayout(LockedMemory& memory);

// Updates `state.mix` for the layout and the requested channels.
void UpdateMix(DecoderState& state);

// Allocates the areas that the stream needs up to and including the parsed block. False without memory.
bool MakeAreas(LockedMemory& memory);

// Resets the signal and all that was learned from it: the stream is as specified by its configuration.
void Restart(LockedMemory& memory);

// The same for a lost block: decoding restarts after it with the headers received before.
void PassLostBlock(LockedMemory& memory);

// Determines whether the parsed block, whose bytes are `data`, is the first with SBR: in the first block any
// SBR payload counts, in later ones (where damage may look like one) only a valid payload. From then on all
// blocks have SBR.
void AdoptSbr(LockedMemory& memory, const std::uint8_t* data, std::size_t size);

// Whether the decoder has converged: the output does not depend on blocks before those since Reset, including
// lost ones, except for an overlap of one block. False before the first block.
bool IsConverged(const LockedMemory& memory);

// Whether SBR is active, even if only to maintain the sampling frequency: it is signalled, a block carried
// it, or twice the core's frequency is requested.
bool HasSbr(const DecoderState& state);

// Sampling frequency of the output, in hertz.
std::uint32_t OutputFrequency(const DecoderState& state);

// Output bytes of a block. LargestRenderedBytes is the maximum for the parsed block before it is rendered: it
// may be the first one with parametric stereo.
std::size_t RenderedBytes(const DecoderState& state);
std::size_t LargestRenderedBytes(const DecoderState& state, const RawDataBlock& block);

// Decodes the parsed block, whose bytes are `data`, into `output`, which has space for LargestRenderedBytes.
void RenderBlock(LockedMemory& memory, const std::uint8_t* data, std::size_t size, std::int16_t* output);

}  // namespace UMC::aac
