// Noise in place of coefficients that have no bits (ATSC A/52, 7.3.4).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "exponents.h"

namespace UMC::ac3 {

// By exponent, what makes a coefficient of a signed 32-bit number: for noise that fills half of full scale's
// power.
inline constexpr auto kDitherScales = [] {
  std::array<float, kMaxExponent + 1> scales{};
  float scale = 0.70710678f * 0x1p-31f;
  for (float& value : scales) {
    value = scale;
    scale /= 2;
  }
  return scales;
}();

// A linear congruential generator. The noise of a frame depends on the frame's bytes alone, so that it sounds
// the same however the decoder came to it.
class DitherGenerator {
 public:
  // Starts from the two checksums of a frame of so many bytes, which all of them are in.
  DitherGenerator(const std::uint8_t* frame, std::size_t bytes);

  // A coefficient of this exponent.
  float Next(std::uint8_t exponent) {
    m_state = m_state * 1664525u + 1013904223u;
    return static_cast<float>(static_cast<std::int32_t>(m_state)) * kDitherScales[exponent];
  }

 private:
  std::uint32_t m_state;
};

// Gives the bins from `start` to `end` whose pointer is 0 coefficients of noise.
void AddDither(const std::uint8_t* pointers, const std::uint8_t* exponents, int start, int end,
               DitherGenerator& generator, float* coefficients);

}  // namespace UMC::ac3
