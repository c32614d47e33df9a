// ALSSpecificConfig(): the header of a lossless stream (ISO/IEC 14496-3, 11.6.2). It serves to recognise such
// streams; their frames are not decoded.
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::aac {

inline constexpr std::uint32_t kAlsId = 0x414C5300;  // "ALS" and a zero byte

struct AlsConfig {
  std::uint32_t frequency;  // hertz
  std::uint32_t channels;
};

// Reads the configuration, including its id. False if it is truncated or contains reserved values.
bool ParseAlsConfig(fmp4::BitWindow& stream, AlsConfig& config);

}  // namespace UMC::aac
