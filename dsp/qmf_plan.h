// The prepared constants of a QMF bank, and the layout of the kernels' work buffers.
#pragma once

#include "dsp/ipps_sbr.h"
#include "dsp/kernels/kernels.h"

namespace UMC {

// Slots per batch. Transforms process these side by side: a row holds one band or sample of each slot.
inline constexpr int kQmfBatch = 16;
static_assert(kIppsSbrSlots % kQmfBatch == 0);
inline constexpr int kQmfTaps = 10;  // window taps per phase
static_assert(kQmfTaps == kIppsSbrLag + 1);

struct IppsFilterSpec_SBR_32f {
  Ipp32s bands;    // 32 or 64
  Ipp32s rotates;  // 1: `rotation` applies
  Ipp32s passCount;
  Ipp32s reserved;
  FftPass passes[kMaxFftPasses];  // for bands / 2 points: radix 4, 4 and, of 64 bands, 2
  // The window by lag and phase; in the analysis, even lags have their phases reversed.
  Ipp32f taps[kQmfTaps][kIppsSbrBands];
  // Cosine and sine of the rotations before and after the transform; the first includes the scale.
  Ipp32f before[2][kIppsSbrBands / 2];
  Ipp32f after[2][kIppsSbrBands / 2];
  Ipp32f rotation[2][kIppsSbrBands];  // of subbands: cosine and sine
  Ipp32f twiddles[kIppsSbrBands];
};

// Floats in a call's work buffer: rows of two transforms, what is between their sweeps, and one vector a slot
// of this call and of its history.
inline constexpr int kQmfWorkFloats =
    3 * kIppsSbrBands * kQmfBatch + 2 * kIppsSbrBands * (kIppsSbrLag + kIppsSbrSlots);

}  // namespace UMC
