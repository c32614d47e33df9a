// Frame rates as exact fractions, and times in frames.
#pragma once

#include <cstdint>
#include <limits>

#include "base/compiler.h"

namespace fmp4 {

// Frames per second as numerator / denominator; 0/1 if unknown.
struct FrameRate {
  std::uint32_t numerator = 0;
  std::uint32_t denominator = 1;

  bool known() const { return numerator != 0 && denominator != 0; }
  double value() const { return denominator ? static_cast<double>(numerator) / denominator : 0.0; }
  bool operator==(const FrameRate&) const = default;
};

// value * multiplier / divisor, truncated, with an exact intermediate product. Saturates at the largest
// 64-bit number. Returns 0 if the divisor is 0.
inline std::uint64_t scaleExactly(std::uint64_t value, std::uint64_t multiplier, std::uint64_t divisor) {
  return divisor == 0 ? 0 : multiplyDivide(value, multiplier, divisor);
}

// A duration in frames: duration / timescale * rate, truncated. Exact: 30030 ticks of 1/30000 s are 30 frames
// at 30000/1001, where floating point gives 29.
inline std::uint64_t framesOf(std::uint64_t duration, std::uint32_t timescale, const FrameRate& rate) {
  return scaleExactly(duration, rate.numerator, std::uint64_t{timescale} * rate.denominator);
}

// Sums that saturate instead of wrapping when hostile files overflow their type.
template <class T>
constexpr T saturate(std::uint64_t value) {
  constexpr T kMax = std::numeric_limits<T>::max();
  return value > kMax ? kMax : static_cast<T>(value);
}
constexpr std::uint64_t addSaturated(std::uint64_t a, std::uint64_t b) {
  return a > ~b ? ~std::uint64_t{0} : a + b;
}

}  // namespace fmp4
