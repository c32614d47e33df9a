// One channel stream of a raw data block and its spectrum.
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/ics_info.h"
#include "audio/umc/aac/core/tns.h"
#include "dsp/ipps_memory.h"

namespace UMC::aac {

inline constexpr int kMaxFrameLength = 1024;
// Scale factor bands in all groups of a frame.
inline constexpr int kMaxGroupedBands = 8 * kMaxShortBands;
static_assert(kMaxGroupedBands >= kMaxBands);

// Section codebook numbers that are not spectral codes (ISO/IEC 14496-3, 4.6.3 and 4.6.2.3).
inline constexpr int kZeroCodebook = 0;
inline constexpr int kEscapeCodebook = 11;
inline constexpr int kReservedCodebook = 12;
inline constexpr int kNoiseCodebook = 13;
inline constexpr int kIntensityOutOfPhase = 14;
inline constexpr int kIntensityInPhase = 15;

struct ChannelStream {
  IcsInfo ics;
  TnsData tns;
  // By IcsInfo::Band. The meaning of a scale factor depends on its band's codebook: scale factor proper for
  // spectral codes, energy for noise, position for intensity.
  std::uint8_t codebook[kMaxGroupedBands];
  std::int16_t scaleFactor[kMaxGroupedBands];
  // Lines in frequency order, one window after the other; after the filter bank, the samples.
  alignas(kIppsAlignment) float spectrum[kMaxFrameLength];
};

}  // namespace UMC::aac
