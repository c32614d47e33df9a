// The AudioSpecificConfig of AAC (ISO/IEC 14496-3, 1.6.2.1), as far as packaging needs it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

struct AudioConfig {
  std::uint32_t objectType = 0;  // 2: AAC LC; 5 and 29: with SBR
  std::uint32_t sampleRate = 0;  // of the core: what one access unit has 1024 samples of
  bool shortFrames = false;      // or 960: frameLengthFlag of the core's configuration
};

// Nothing when it is too short or names a reserved rate.
std::optional<AudioConfig> parseAudioConfig(std::span<const std::uint8_t> config);
