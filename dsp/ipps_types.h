// Types and status codes shared by all primitives.
#pragma once

#include <cstdint>

namespace UMC {

using Ipp8u = std::uint8_t;
using Ipp16s = std::int16_t;
using Ipp16u = std::uint16_t;
using Ipp32s = std::int32_t;
using Ipp32u = std::uint32_t;
using Ipp32f = float;

struct Ipp32fc {
  Ipp32f re;
  Ipp32f im;
};

// Status of a primitive that can fail: 0 is success, negative values are errors.
using IppStatus = Ipp32s;
inline constexpr IppStatus ippStsNoErr = 0;
inline constexpr IppStatus ippStsBadArgErr = -5;
inline constexpr IppStatus ippStsSizeErr = -6;
inline constexpr IppStatus ippStsNullPtrErr = -8;
inline constexpr IppStatus ippStsMemAllocErr = -9;
// A code table that is not prefix-free, or that is incomplete.
inline constexpr IppStatus ippStsVLCUsrTblCodeErr = -102;
// Bits that match no valid code.
inline constexpr IppStatus ippStsVLCInputDataErr = -103;

}  // namespace UMC
