// What each compiler spells in its own way. A build with another compiler touches this header and
// host/include; all else is standard C++20.
#pragma once

#include <cstdint>

#if defined(_MSC_VER)
#include <intrin.h>
#include <stdlib.h>
#endif

namespace fmp4 {

// A function or class that the plug-in exports. On Windows plugin/exports.def lists the exports.
#if defined(_WIN32)
#define VL_EXPORTED
#else
#define VL_EXPORTED __attribute__((visibility("default")))
#endif

// The bytes of `value` in reverse order.
inline std::uint64_t swapBytes(std::uint64_t value) {
#if defined(_MSC_VER)
  return _byteswap_uint64(value);
#else
  return __builtin_bswap64(value);
#endif
}

// a * b / divisor, truncated, with the full product of 128 bits; all ones where 64 bits do not hold the
// result. The divisor is not 0.
inline std::uint64_t multiplyDivide(std::uint64_t a, std::uint64_t b, std::uint64_t divisor) {
#if defined(_MSC_VER)
  std::uint64_t high = 0, remainder = 0;
  const std::uint64_t low = _umul128(a, b, &high);
  return high >= divisor ? ~std::uint64_t{0} : _udiv128(high, low, divisor, &remainder);
#else
  __extension__ typedef unsigned __int128 Product;
  const Product quotient = Product{a} * b / divisor;
  return quotient > ~std::uint64_t{0} ? ~std::uint64_t{0} : static_cast<std::uint64_t>(quotient);
#endif
}

}  // namespace fmp4
