// The inverse transform: one of 512 points or two of 256, window and overlap-add (ATSC A/52, 7.9).
#pragma once

#include <cstdint>

#include "audio/umc/ac3/coded_channel.h"
#include "audio/umc/ac3/sync_frame.h"
#include "dsp/ipps_memory.h"

namespace UMC::ac3 {

// An output channel's samples. The halves alternate between even and odd blocks: one receives the block's
// samples, the other the windowed second half of its transform, to which the next block is added.
struct Overlap {
  alignas(kIppsAlignment) float halves[2][kBlockSamples];
};

// Work area for one call.
struct TransformScratch {
  alignas(kIppsAlignment) float samples[2 * kBlockSamples];
  alignas(kIppsAlignment) float halves[2][kBlockSamples / 2];
  alignas(kIppsAlignment) float shortSamples[kBlockSamples];
  alignas(kIppsAlignment) std::uint8_t work[2 * kBlockSamples * sizeof(float)];
};

// Creates the window and the transforms shared by all decoders. Otherwise the first block does so.
void PrepareTransforms();

// Synthesises the samples of one block, with full scale 32768, from coefficients with full scale 1.
// Coefficients of channels with and without block switching may both be present, as the transforms are
// linear; either may be null. `block` counts from the first frame, or from the start of any frame. Returns
// the samples, which are stored in `overlap` and valid until the block after next.
const float* SynthesiseBlock(const float* coefficients, const float* switchedCoefficients, int block,
                             Overlap& overlap, TransformScratch& scratch);

}  // namespace UMC::ac3
