// AudioSpecificConfig(): what the container says about a stream (ISO/IEC 14496-3, 1.6.2.1).
#pragma once

#include <cstddef>
#include <cstdint>

#include "layout.h"

namespace UMC::aac {

// Audio object types.
inline constexpr int kObjectMain = 1;
inline constexpr int kObjectLc = 2;
inline constexpr int kObjectSsr = 3;
inline constexpr int kObjectLtp = 4;
inline constexpr int kObjectSbr = 5;
inline constexpr int kObjectScalable = 6;
inline constexpr int kObjectBsac = 22;
inline constexpr int kObjectPs = 29;
inline constexpr int kObjectAls = 36;

struct AudioSpecificConfig {
  int objectType;            // of the core
  int samplingIndex;         // whose tables serve the core
  std::uint32_t frequency;   // of the core, hertz
  int channelConfiguration;  // 0: `layout` is a program's
  Layout layout;             // without channels where the configuration has none that is served
  int frameLength;           // 1024 or 960
  bool sbrSignalled;
  bool psSignalled;
  std::uint32_t extensionFrequency;  // with SBR, hertz
};

// False for a configuration that is cut off or has no meaning here: an object type without general audio
// coding, a frequency of 0.
bool ParseAudioSpecificConfig(const std::uint8_t* data, std::size_t size, AudioSpecificConfig& config);

}  // namespace UMC::aac
