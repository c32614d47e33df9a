// The constants of parametric stereo for 20 and for 34 bands (ISO/IEC 14496-3, 8.6.4).
#pragma once

#include <cstdint>

#include "audio/umc/aac/ps/bands.h"
#include "audio/umc/aac/ps/data.h"
#include "dsp/ipps_sbr.h"
#include "dsp/kernels/ps_kernels.h"

namespace UMC::aac {

// Maximum number of QMF bands, from 0 on, that are split, and of the resulting hybrid bands.
inline constexpr int kMaxPsSplitQmfBands = 5;
inline constexpr int kMaxPsSplitBands = 32;
inline constexpr int kMaxPsHybridBands = 91;
static_assert(kMaxPsHybridBands <= kPsHybridBands);

// A configuration with 20 or 34 bands.
struct PsConfiguration {
  int bands;       // parameter bands
  int phaseBands;  // phase bands
  int splitQmfBands;
  int splitBands;   // hybrid bands of the split QMF bands; the others follow
  int hybridBands;  // total number of hybrid bands
  // Hybrid bands from 0 on that are decorrelated by all-pass filters, and the end of those that have the
  // longer of the two delays.
  int allPassBands;
  int longDelayBands;
  // Hybrid bands of negative centre frequencies, which rotate in the opposite direction: [first, end).
  int firstConjugate, endConjugate;
  // First hybrid band of each split QMF band, and the one after the last.
  int firstOf[kMaxPsSplitQmfBands + 1];
  PsFilterBank filters[kMaxPsSplitQmfBands];
  PsAllPassBank allPass;
};

// Gains of the direct (1) and the decorrelated (2) signal in left (first digit 1) and right.
struct PsMixing {
  float h11, h12, h21, h22;
};

struct PsTables {
  PsConfiguration configurations[2];  // for 20 and for 34 bands
  // By procedure (A, B), quantiser of the IID (default, fine), IID index + 15, ICC index.
  PsMixing mixing[2][2][2 * kMaxIid[1] + 1][kMaxIcc + 1];

  [[nodiscard]] const PsConfiguration& Of(bool wide) const { return configurations[wide ? 1 : 0]; }
};

const PsTables& SharedPsTables();

}  // namespace UMC::aac
