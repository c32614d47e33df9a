// The inverse transform: one of 512 points or two of 256, one window, overlap (ATSC A/52, 7.9).
#pragma once

#include <cstdint>

#include "coded_channel.h"
#include "sync_frame.h"

namespace UMC::ac3 {

// An output channel's memory from block to block: the second half of the last transform, not windowed.
struct Overlap {
  alignas(16) float tail[kBlockSamples];
};

// Room for one call.
struct TransformScratch {
  alignas(16) float samples[2 * kBlockSamples];
  alignas(16) float halves[2][kBlockSamples / 2];
  alignas(16) float shortSamples[kBlockSamples];
  alignas(16) std::uint8_t work[kBlockSamples * sizeof(float)];
};

// The window and the transforms, shared by all decoders.
struct Transforms;

// Made by the first caller; null where memory was short then.
const Transforms* SharedTransforms();

// Makes the samples of one block, full scale being 32768, of coefficients whose full scale is 1. Those of
// channels with and without block switching may be there both: the transforms are linear. Either may be null.
void SynthesiseBlock(const Transforms& transforms, const float* coefficients,
                     const float* switchedCoefficients, Overlap& overlap, TransformScratch& scratch,
                     float* samples);

}  // namespace UMC::ac3
