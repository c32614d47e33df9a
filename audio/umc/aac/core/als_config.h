// ALSSpecificConfig(): the head of a lossless stream (ISO/IEC 14496-3, 11.6.2). Streams that begin with it
// are recognised by it; their frames are not decoded.
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::aac {

inline constexpr std::uint32_t kAlsId = 0x414C5300;  // "ALS" and a zero byte

struct AlsConfig {
  std::uint32_t frequency;  // hertz
  std::uint32_t channels;
};

// Reads the configuration, its id included. False for one that is cut off, or that holds reserved values.
bool ParseAlsConfig(BitWindow& stream, AlsConfig& config);

}  // namespace UMC::aac
