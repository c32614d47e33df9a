// Coefficients in block floating point, mantissas and exponents apart, with noise for those that have no
// mantissa.
#pragma once

#include <array>
#include <cstddef>

#include "dsp/ipps_types.h"

// Coefficients of one call at most.
inline constexpr std::size_t kMaxNoiseLength = 256;

// Noise of a linear congruential generator.
struct NoiseSource {
  Ipp32u state = 0;      // the generator's, before its first draw
  Ipp32f amplitude = 0;  // draws lie evenly between minus this and this; 0 for no noise
};

// What leads from a state to those after it: state[i + 1] = factors[i] * state[0] + terms[i].
struct NoiseJumps {
  std::array<Ipp32u, kMaxNoiseLength> factors;
  std::array<Ipp32u, kMaxNoiseLength> terms;
};

inline constexpr NoiseJumps kNoiseJumps = [] {
  NoiseJumps jumps{};
  Ipp32u factor = 1, term = 0;
  for (std::size_t i = 0; i < kMaxNoiseLength; ++i) {
    factor *= 1664525u;
    term = term * 1664525u + 1013904223u;
    jumps.factors[i] = factor;
    jumps.terms[i] = term;
  }
  return jumps;
}();

// destination[i] = mantissas[i] * 2^-exponents[i], or noise of that exponent where bits[i] is 0. Exponents
// are at most 126. One draw a coefficient, whether it is needed or not.
void ApplyExponents(const Ipp32f* mantissas, const Ipp8u* exponents, const Ipp8u* bits,
                    const NoiseSource& noise, Ipp32f* destination, std::size_t length);
