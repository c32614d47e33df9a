// Scale factor bands and other values that depend only on the sampling frequency (ISO/IEC 14496-3, 4.5.4).
#pragma once

#include <cstdint>

#include "base/aac/sampling_frequencies.h"

namespace UMC::aac {

inline constexpr int kMaxBands = 51;       // bands of a long window
inline constexpr int kMaxShortBands = 15;  // bands of a short window

// The bands of one window length.
struct BandTable {
  int bands = 0;                              // num_swb
  std::uint16_t offsets[kMaxBands + 1] = {};  // swb_offset: first line of every band, then the line count
  int tnsBands = 0;                           // TNS_MAX_BANDS
  int predictionBands = 0;                    // PRED_SFB_MAX; long windows only
};

// The bands of a frame of 1024 or 960 samples at a sampling frequency index below kSamplingIndexCount.
struct FrameBands {
  BandTable longWindow;
  BandTable shortWindow;
};
const FrameBands& BandsOf(int samplingIndex, int frameLength);

}  // namespace UMC::aac
