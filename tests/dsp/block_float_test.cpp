// Mantissas and exponents to coefficients, against the definition.
#include "dsp/block_float.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/dsp/kernel_sets.h"

namespace fmp4 {

using namespace UMC;

namespace {

constexpr std::size_t kLengths[] = {0, 1, 3, 7, 16, 133, kMaxNoiseLength};

TEST(BlockFloat, ScalesMantissasAndDrawsNoiseWithEveryInstructionSet) {
  for (const auto& set : AllKernelSets()) {
    for (const std::size_t length : kLengths) {
      std::mt19937 random(static_cast<unsigned>(length));
      std::vector<float> mantissas(length), coefficients(length + 1, 77);
      std::vector<Ipp8u> exponents(length), bits(length);
      for (std::size_t i = 0; i < length; ++i) {
        mantissas[i] = static_cast<float>(static_cast<int>(random() % 65536) - 32768) / 32768;
        exponents[i] = static_cast<Ipp8u>(random() % 25);
        bits[i] = static_cast<Ipp8u>(random() % 3);
      }
      const NoiseSource noise = {0x12345678, 0.5f};
      set.kernels->applyExponents(mantissas.data(), exponents.data(), bits.data(), noise, coefficients.data(),
                                  length);
      Ipp32u state = noise.state;
      for (std::size_t i = 0; i < length; ++i) {
        state = state * 1664525u + 1013904223u;
        const float drawn = static_cast<float>(static_cast<Ipp32s>(state)) * 0x1p-32f;
        const float value = bits[i] == 0 ? drawn : mantissas[i];
        EXPECT_EQ(std::ldexp(value, -exponents[i]), coefficients[i]) << set.name << " " << length << " " << i;
      }
      EXPECT_EQ(77, coefficients[length]) << set.name;
    }
  }
}

TEST(BlockFloat, LeavesSilenceWithoutNoise) {
  const std::vector<float> mantissas(kMaxNoiseLength, 1);
  const std::vector<Ipp8u> zeros(kMaxNoiseLength, 0);
  std::vector<float> coefficients(kMaxNoiseLength, 77);
  ApplyExponents(mantissas.data(), zeros.data(), zeros.data(), {0x12345678, 0}, coefficients.data(),
                 kMaxNoiseLength);
  EXPECT_EQ(std::vector<float>(kMaxNoiseLength, 0), coefficients);
}

}  // namespace

}  // namespace fmp4
