// The prepared constants of a QMF bank, and how the kernels lay out their work.
#pragma once

#include "dsp/ipps_sbr.h"
#include "dsp/kernels/kernels.h"

// Transforms work on so many slots side by side: a row holds one band or sample of each.
inline constexpr int kQmfBatch = 16;
// Rows of all slots, with those of earlier calls ahead of them.
inline constexpr int kQmfPitch = 48;
static_assert(kQmfPitch >= kIppsSbrLag + kIppsSbrSlots && kIppsSbrSlots % kQmfBatch == 0);
inline constexpr int kQmfTaps = 10;  // of the window, by phase

struct IppsFilterSpec_SBR_32f {
  Ipp32s bands;    // 32 or 64
  Ipp32s rotates;  // 1: `rotation` applies
  Ipp32s passCount;
  Ipp32s reserved;
  FftPass passes[kMaxFftPasses];  // of bands / 2 points; their spans count the slots of a batch
  // The window by phase and lag.
  Ipp32f taps[kIppsSbrBands][kQmfTaps];
  // Cosine and sine of the rotations around the transform, the first with its scale.
  Ipp32f before[2][kIppsSbrBands / 2];
  Ipp32f after[2][kIppsSbrBands / 2];
  Ipp32f rotation[2][kIppsSbrBands];  // of subbands: cosine and sine
  Ipp32f twiddles[kIppsSbrBands];
};

// Floats that a call works in: rows of all slots, two transforms' inputs and results, their passes.
inline constexpr int kQmfWorkFloats = 2 * kIppsSbrBands * kQmfPitch + 6 * kIppsSbrBands * kQmfBatch;
