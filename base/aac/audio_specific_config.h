// AudioSpecificConfig(): the stream parameters given by the container (ISO/IEC 14496-3, 1.6.2.1).
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

// Whether a decoder for the object type is implemented. ER BSAC, ALS and others need decoders of their own.
inline bool IsSupportedObjectType(int objectType) {
  return objectType >= kObjectMain && objectType <= kObjectLtp;
}

struct AudioSpecificConfig {
  int signalledType;         // first object type: 5 or 29 with explicit signalling of SBR or PS
  int objectType;            // object type of the core
  int samplingIndex;         // index of the frequency tables for the core
  std::uint32_t frequency;   // core sampling frequency, Hz
  int channelConfiguration;  // 0: `layout` comes from the program_config_element
  Layout layout;             // without channels if the channel configuration is unsupported
  int frameLength;           // samples, 1024 or 960
  bool sbrSignalled;
  bool psSignalled;
  std::uint32_t extensionFrequency;  // SBR output sampling frequency, Hz

  // The layout of the program_config_element; without channels if there is none.
  [[nodiscard]] Layout Program() const { return channelConfiguration == 0 ? layout : Layout{}; }
};

// Returns false if the configuration is truncated, or its frequency is 0 or reserved. For object types other
// than general audio only the fields common to all types are read.
bool ParseAudioSpecificConfig(const std::uint8_t* data, std::size_t size, AudioSpecificConfig& config);

}  // namespace UMC::aac
