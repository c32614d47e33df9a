// From a parsed block to interleaved samples.
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder_state.h"
#include "sbr_decoder.h"

namespace UMC::aac {

// Finds out which channels the parsed block carries, by its own program config element, an earlier one or
// the order of its elements. When they are not those of the block before, all channels start anew. A block
// without channels goes on with the layout before. False when there are no channels at all.
bool AdoptLayout(DecoderState& state, SbrArea& sbr, const RawDataBlock& block);

// Makes `state.mix` for the layout and the channels asked for.
void UpdateMix(DecoderState& state);

// Forgets the signal: what overlaps into the next frame.
void ForgetSignal(DecoderState& state, SbrArea& sbr);

// Starts what the state's object type predicts from anew; due when that type is set.
void ForgetPredictions(DecoderState& state);

// Finds out whether the parsed block, whose bytes are `data`, starts spectral band replication: the first
// block by any payload of it, later ones (where damage may look like one) by a payload that makes sense. From
// then on all blocks have it.
void AdoptSbr(DecoderState& state, SbrArea& sbr, const RawDataBlock& block, const std::uint8_t* data,
              std::size_t size);

// The output does not depend on blocks ahead of those since the signal was forgotten, but for an overlap of
// one block.
bool IsSettled(const DecoderState& state, const SbrArea& sbr);

// Spectral band replication is at work, were it only to keep the sampling frequency.
bool HasSbr(const DecoderState& state);

// Of the output, hertz.
std::uint32_t OutputFrequency(const DecoderState& state);

// Bytes that a block becomes. Before the parsed block is rendered, those that it becomes at most: it may be
// the first one with parametric stereo.
std::size_t RenderedBytes(const DecoderState& state);
std::size_t LargestRenderedBytes(const DecoderState& state, const RawDataBlock& block);

// Decodes the parsed block, whose bytes are `data`, into `output`, which has room for LargestRenderedBytes.
void RenderBlock(DecoderState& state, WorkArea& work, SbrArea& sbr, const std::uint8_t* data,
                 std::size_t size, std::int16_t* output);

}  // namespace UMC::aac
