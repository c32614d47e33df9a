// Coefficients in block floating point: separate mantissas and exponents, with noise in place of coefficients
// that have no mantissa.
#pragma once

#include <array>
#include <cstddef>

#include "dsp/ipps_types.h"

namespace UMC {

// Maximum number of coefficients per call.
inline constexpr std::size_t kMaxNoiseLength = 256;

// Noise from a linear congruential generator.
struct NoiseSource {
  Ipp32u state = 0;      // the generator's state before its first draw
  Ipp32f amplitude = 0;  // draws are uniform between -amplitude and +amplitude; 0: no noise
};

// Leads from one state to those after it: state[i + 1] = factors[i] * state[0] + terms[i].
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

// destination[i] = mantissas[i] * 2^-exponents[i], or noise scaled by that exponent where bits[i] is 0.
// Exponents are at most 126. Draws one value per coefficient, whether it is used or not.
void ApplyExponents(const Ipp32f* mantissas, const Ipp8u* exponents, const Ipp8u* bits,
                    const NoiseSource& noise, Ipp32f* destination, std::size_t length);

}  // namespace UMC
