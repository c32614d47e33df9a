// The prepared constants of a QMF bank, and the layout of the kernels' work buffers.
#pragma once

#include "dsp/ipps_sbr.h"
#include "dsp/kernels/kernels.h"

namespace UMC {

// Slots per batch. Transforms process these side by side: a row holds one band or sample of each slot.
inline constexpr int kQmfBatch = 16;
// Index of a call's first slot in a row of all slots, where those of earlier calls come before it, and the
// length of such a row: whole vectors.
inline constexpr int kQmfFirst = 16;
inline constexpr int kQmfPitch = 48;
static_assert(kQmfFirst >= kIppsSbrLag && kQmfPitch >= kQmfFirst + kIppsSbrSlots);
static_assert(kIppsSbrSlots % kQmfBatch == 0);
inline constexpr int kQmfTaps = 10;  // window taps per phase

struct IppsFilterSpec_SBR_32f {
  Ipp32s bands;    // 32 or 64
  Ipp32s rotates;  // 1: `rotation` applies
  Ipp32s passCount;
  Ipp32s reserved;
  FftPass passes[kMaxFftPasses];  // for bands / 2 points: radix 4, 4 and, of 64 bands, 2
  // The window by phase and lag.
  Ipp32f taps[kIppsSbrBands][kQmfTaps];
  // Cosine and sine of the rotations before and after the transform; the first includes the scale.
  Ipp32f before[2][kIppsSbrBands / 2];
  Ipp32f after[2][kIppsSbrBands / 2];
  Ipp32f rotation[2][kIppsSbrBands];  // of subbands: cosine and sine
  Ipp32f twiddles[kIppsSbrBands];
};

// Floats in a call's work buffer: rows of all slots, those of two transforms, what is between their sweeps.
inline constexpr int kQmfWorkFloats = 2 * kIppsSbrBands * kQmfPitch + 3 * kIppsSbrBands * kQmfBatch;

}  // namespace UMC
