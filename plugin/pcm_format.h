// The PCM format in which an audio track is delivered.
#pragma once

#include <cstdint>
#include <vector>

#include "mp4box/box.h"
#include "mp4box/boxes/audio_entry.h"

namespace fmp4 {

// Bits per decoded sample, regardless of the sample entry.
inline constexpr std::uint16_t kDecodedBits = 16;

struct PcmFormat {
  std::uint16_t channels = 0;
  std::uint32_t samplesPerSecond = 0;  // 0: unspecified
};

// The format given by a sample entry ("mp4a" or "ac-3"; `entry` is its payload), and where that has no useful
// values by the codec configuration. `audioConfiguration` is the AudioSpecificConfig, empty if there is none.
PcmFormat pcmFormatOf(Mp4Box* sampleEntry, const mp4::AudioSampleEntry& entry,
                      const std::vector<std::uint8_t>& audioConfiguration);

}  // namespace fmp4
