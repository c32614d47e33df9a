// The inverse transform: one of 512 points or two of 256, one window, overlap (ATSC A/52, 7.9).
#pragma once

#include <cstdint>

#include "audio/umc/ac3/coded_channel.h"
#include "audio/umc/ac3/sync_frame.h"

namespace UMC::ac3 {

// An output channel's samples. Blocks of an even and of an odd number take turns: one half receives the
// block's samples, the other the windowed second half of its transform, to which the next block is added.
struct Overlap {
  alignas(16) float halves[2][kBlockSamples];
};

// Room for one call.
struct TransformScratch {
  alignas(16) float samples[2 * kBlockSamples];
  alignas(16) float halves[2][kBlockSamples / 2];
  alignas(16) float shortSamples[kBlockSamples];
  alignas(16) std::uint8_t work[kBlockSamples * sizeof(float)];
};

// Makes the window and the transforms that all decoders share, once. The first block would do it otherwise.
void PrepareTransforms();

// Makes the samples of one block, full scale being 32768, of coefficients whose full scale is 1. Those of
// channels with and without block switching may be there both: the transforms are linear. Either may be null.
// `block` counts from the first frame on, or from the start of any frame. Returns the samples, which lie in
// `overlap` until the block after the next.
const float* SynthesiseBlock(const float* coefficients, const float* switchedCoefficients, int block,
                             Overlap& overlap, TransformScratch& scratch);

}  // namespace UMC::ac3
