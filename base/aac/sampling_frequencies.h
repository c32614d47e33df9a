// Sampling frequencies of AAC (ISO/IEC 14496-3, 1.6.3.3 and 4.5.4).
#pragma once

#include <cstdint>

namespace UMC::aac {

inline constexpr int kSamplingIndexCount = 13;   // indices that have a frequency
inline constexpr int kSamplingIndexEscape = 15;  // an explicit frequency in Hz follows

// Sampling frequencies by index, Hz (ISO/IEC 14496-3, 1.6.3.3).
inline constexpr std::uint32_t kSamplingFrequencies[kSamplingIndexCount] = {
    96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};

// The index whose tables apply to a frequency in Hz (ISO/IEC 14496-3, table 4.82).
int SamplingIndexOf(std::uint32_t frequency);

}  // namespace UMC::aac
