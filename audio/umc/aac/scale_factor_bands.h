// Scale factor bands and what else depends on the sampling frequency alone (ISO/IEC 14496-3, 4.5.4).
#pragma once

#include <cstdint>

namespace UMC::aac {

inline constexpr int kMaxBands = 51;             // of a long window
inline constexpr int kMaxShortBands = 15;        // of a short window
inline constexpr int kSamplingIndexCount = 13;   // sampling frequency indices that stand for a frequency
inline constexpr int kSamplingIndexEscape = 15;  // a frequency in hertz follows

// Frequencies of the indices (ISO/IEC 14496-3, 1.6.3.3).
inline constexpr std::uint32_t kSamplingFrequencies[kSamplingIndexCount] = {
    96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};

// The bands of one window length.
struct BandTable {
  int bands = 0;                              // num_swb
  std::uint16_t offsets[kMaxBands + 1] = {};  // swb_offset: first line of every band, then the line count
  int tnsBands = 0;                           // TNS_MAX_BANDS
  int predictionBands = 0;                    // PRED_SFB_MAX; of a long window
};

// The bands of a frame of 1024 or 960 samples at a sampling frequency index below kSamplingIndexCount.
struct FrameBands {
  BandTable longWindow;
  BandTable shortWindow;
};
const FrameBands& BandsOf(int samplingIndex, int frameLength);

// The index whose tables serve a frequency (ISO/IEC 14496-3, table 4.82).
int SamplingIndexOf(std::uint32_t frequency);

}  // namespace UMC::aac
