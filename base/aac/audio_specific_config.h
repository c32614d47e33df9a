// AudioSpecificConfig(): what the container says about a stream (ISO/IEC 14496-3, 1.6.2.1).
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/aac/layout.h"

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

// Whether there is a decoder for the object type. ER BSAC, ALS and others would need some of their own.
inline bool IsServedObjectType(int objectType) {
  return objectType >= kObjectMain && objectType <= kObjectLtp;
}

struct AudioSpecificConfig {
  int signalledType;         // the first one: explicit signalling of SBR and PS names 5 or 29 here
  int objectType;            // of the core
  int samplingIndex;         // whose tables serve the core
  std::uint32_t frequency;   // of the core, hertz
  int channelConfiguration;  // 0: `layout` is a program's
  Layout layout;             // without channels where the configuration has none that is served
  int frameLength;           // 1024 or 960
  bool sbrSignalled;
  bool psSignalled;
  std::uint32_t extensionFrequency;  // with SBR, hertz

  // The program's layout, without channels where the configuration describes none.
  [[nodiscard]] Layout Program() const { return channelConfiguration == 0 ? layout : Layout{}; }
};

// False for a configuration that is cut off, or whose frequency is 0 or reserved. Of object types without
// general audio coding no more is read than what all have.
bool ParseAudioSpecificConfig(const std::uint8_t* data, std::size_t size, AudioSpecificConfig& config);

}  // namespace UMC::aac
