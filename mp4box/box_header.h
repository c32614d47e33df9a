// What a box starts with (ISO/IEC 14496-12, 4.2).
#pragma once

#include <cstdint>

namespace fmp4 {

// Bytes of size and type, which is all that a box below 4 GiB needs.
inline constexpr std::uint32_t kBoxHeaderBytes = 8;

// The most bytes of a header: size, type, 64-bit size and extended type.
inline constexpr std::uint32_t kMaxBoxHeaderBytes = 32;

}  // namespace fmp4
