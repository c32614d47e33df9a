// Big-endian loads from bytes in memory.
#pragma once

#include <cstdint>

namespace fmp4 {

inline std::uint16_t Mp4LoadU16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}

inline std::uint32_t Mp4LoadU24(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) << 16 | static_cast<std::uint32_t>(p[1]) << 8 | p[2];
}

inline std::uint32_t Mp4LoadU32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) << 24 | Mp4LoadU24(p + 1);
}

inline std::uint64_t Mp4LoadU64(const std::uint8_t* p) {
  return static_cast<std::uint64_t>(Mp4LoadU32(p)) << 32 | Mp4LoadU32(p + 4);
}

// Converts a 16.16 fixed-point value to floating point.
inline double Mp4Fixed16ToDouble(std::uint32_t value) {
  return value * 1.52587890625e-5;
}

}  // namespace fmp4
