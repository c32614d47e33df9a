// The description of an audio stream.
#pragma once

#include <cstdint>

namespace UMC {

// Stream types.
inline constexpr std::uint32_t UMC_STREAM_PCM = 1;
inline constexpr std::uint32_t UMC_STREAM_AAC = 2048;
inline constexpr std::uint32_t UMC_STREAM_AC3 = 4096;
// Raw AAC access units whose format is given by an AudioSpecificConfig (ISO/IEC 14496-3, 1.6.2.1).
inline constexpr std::uint32_t UMC_STREAM_AAC_CONFIGURED = 2065;

// Bits of the PCM samples that the decoders give.
inline constexpr std::uint32_t kPcmBitsPerSample = 16;

struct AudioStreamInfo {
  std::uint32_t channels = 0;
  std::uint32_t sampleFrequency = 0;  // hertz
  std::uint32_t bitRate = 0;          // bits per second
  std::uint32_t bitsPerSample = 0;
  double duration = 0;  // seconds
  std::uint32_t streamType = 0;
  std::uint32_t streamSubtype = 0;
  std::uint32_t channelMask = 0;
  std::uint32_t reserved[2] = {};
};

}  // namespace UMC
