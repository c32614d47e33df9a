// The PCM that an audio track is delivered as.
#pragma once

#include <cstdint>
#include <vector>

#include "mp4box/box.h"
#include "mp4box/boxes/audio_entry.h"

// Tracks are decoded to samples of this size, whatever their sample entries say.
inline constexpr std::uint16_t kDecodedBits = 16;

struct SoundFormat {
  std::uint16_t channels = 0;
  std::uint32_t samplesPerSecond = 0;  // 0: nothing says
};

// What a sample entry ("mp4a" or "ac-3", `entry` its payload) says, and where it says nothing of use the
// codec's configuration: `audioConfiguration` is the AudioSpecificConfig, empty when there is none.
SoundFormat SoundFormatOf(Mp4Box* sampleEntry, const mp4::AudioSampleEntry& entry,
                          const std::vector<std::uint8_t>& audioConfiguration);
