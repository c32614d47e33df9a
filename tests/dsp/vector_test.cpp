#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "dsp/ipps_vector.h"
#include "tests/dsp/kernel_sets.h"

namespace fmp4 {

using namespace UMC;

namespace {

std::vector<float> RandomValues(std::size_t count, unsigned seed, float limit = 40000) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> uniform(-limit, limit);
  std::vector<float> values(count);
  for (auto& value : values) value = uniform(random);
  return values;
}

// Lengths around every vector width.
const std::vector<std::size_t> kVectorLengths = {0, 1, 3, 4, 7, 8, 15, 16, 17, 31, 33, 120, 128, 1023, 1024};

TEST(Pow43, RaisesMagnitudesToFourThirds) {
  std::vector<Ipp16s> source;
  for (Ipp32s i = -kPow43Limit; i <= kPow43Limit; ++i) source.push_back(static_cast<Ipp16s>(i));
  std::vector<float> powers(source.size());
  ASSERT_EQ(ippStsNoErr, ippsPow43_16s32f(source.data(), powers.data(), source.size()));
  for (std::size_t i = 0; i < source.size(); ++i) {
    const double magnitude = std::pow(std::abs(static_cast<double>(source[i])), 4.0 / 3);
    const double expected = source[i] < 0 ? -magnitude : magnitude;
    ASSERT_NEAR(expected, powers[i], magnitude * 1e-7) << source[i];
  }
}

TEST(Pow43, LimitsValuesThatNoStreamMayContain) {
  const Ipp16s source[2] = {-32768, 32767};
  float powers[2];
  ippsPow43_16s32f(source, powers, 2);
  EXPECT_FLOAT_EQ(-165113.494082945f, powers[0]);
  EXPECT_FLOAT_EQ(165113.494082945f, powers[1]);
}

TEST(Limit, ClampsToTheLimitAndClearsNaN) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const float given[7] = {-kInfinity, -2.5f, -2, 0.25f, 2, 3e38f, std::numeric_limits<float>::quiet_NaN()};
  const float limited[7] = {-2, -2, -2, 0.25f, 2, 2, 0};
  for (const std::size_t length : kVectorLengths) {
    std::vector<float> values(length + 1);
    for (std::size_t i = 0; i < length; ++i) values[i] = given[i % 7];
    ASSERT_EQ(ippStsNoErr, ippsLimit_32f_I(2, values.data(), length));
    for (std::size_t i = 0; i < length; ++i) ASSERT_EQ(limited[i % 7], values[i]) << length << " " << i;
  }
}

TEST(CalcSF, RaisesTwoToQuarterPowers) {
  std::vector<Ipp16s> source;
  for (Ipp16s i = 0; i < 256; ++i) source.push_back(i);
  std::vector<float> factors(source.size());
  ASSERT_EQ(ippStsNoErr, ippsCalcSF_16s32f(source.data(), 100, factors.data(), factors.size()));
  for (std::size_t i = 0; i < factors.size(); ++i) {
    const double expected = std::pow(2.0, 0.25 * (static_cast<double>(i) - 100));
    EXPECT_NEAR(expected, factors[i], expected * 1e-7);
  }
  const Ipp16s extremes[2] = {-32768, 32767};
  float limited[2];
  ippsCalcSF_16s32f(extremes, 100, limited, 2);
  EXPECT_FLOAT_EQ(std::ldexp(1.0f, -120), limited[0]);
  EXPECT_FLOAT_EQ(std::ldexp(1.0f, 120), limited[1]);
}

TEST(Vector, ScalesBandsWithEveryInstructionSet) {
  const Ipp16u offsets[6] = {0, 4, 12, 12, 33, 40};
  const float factors[5] = {2, -3, 100, 0.5f, 0};
  const auto source = RandomValues(44, 1);
  for (const auto& set : AllKernelSets()) {
    auto values = source;
    set.kernels->scaleBands(values.data(), factors, offsets, 5);
    for (std::size_t i = 0; i < values.size(); ++i) {
      const float factor = i < 4 ? 2.0f : i < 12 ? -3.0f : i < 33 ? 0.5f : i < 40 ? 0.0f : 1.0f;
      EXPECT_EQ(source[i] * factor, values[i]) << set.name << " " << i;
    }
  }
}

TEST(Vector, MultipliesAndAddsWithEveryInstructionSet) {
  for (const auto& set : AllKernelSets()) {
    for (const std::size_t length : kVectorLengths) {
      const auto a = RandomValues(length + 1, 2), b = RandomValues(length + 1, 3);
      auto product = a, sums = b, left = a, right = b;
      set.kernels->mulC(product.data(), 0.3f, length);
      set.kernels->addProductC(a.data(), 0.3f, sums.data(), length);
      set.kernels->butterfly(left.data(), right.data(), length);
      for (std::size_t i = 0; i < length; ++i) {
        EXPECT_EQ(a[i] * 0.3f, product[i]);
        EXPECT_NEAR(static_cast<double>(a[i]) * 0.3f + b[i], sums[i], 0.01) << set.name;
        EXPECT_EQ(a[i] + b[i], left[i]);
        EXPECT_EQ(a[i] - b[i], right[i]);
      }
      EXPECT_EQ(a[length], product[length]);
      EXPECT_EQ(b[length], sums[length]);
      EXPECT_EQ(a[length], left[length]);
      EXPECT_EQ(b[length], right[length]);
    }
  }
}

TEST(Vector, MultipliesVectorsWithEveryInstructionSet) {
  for (const auto& set : AllKernelSets()) {
    for (const std::size_t length : kVectorLengths) {
      const auto a = RandomValues(length + 1, 2), b = RandomValues(length + 1, 3);
      auto product = RandomValues(length + 1, 4), sums = RandomValues(length + 1, 5);
      const auto before = sums;
      const float guard = product[length];
      set.kernels->mul(a.data(), b.data(), product.data(), length);
      set.kernels->addProduct(a.data(), b.data(), sums.data(), length);
      for (std::size_t i = 0; i < length; ++i) {
        EXPECT_EQ(a[i] * b[i], product[i]);
        const double expected = static_cast<double>(a[i]) * b[i] + before[i];
        EXPECT_NEAR(expected, sums[i], std::abs(expected) * 2e-7 + 100) << set.name;
      }
      EXPECT_EQ(guard, product[length]);
      EXPECT_EQ(before[length], sums[length]);
    }
  }
}

TEST(Vector, ReversesTheOrderOfValues) {
  for (const std::size_t length : kVectorLengths) {
    const auto source = RandomValues(length + 1, 2);
    std::vector<float> flipped(length + 1, 77);
    ASSERT_EQ(ippStsNoErr, ippsFlip_32f(source.data(), flipped.data(), length));
    for (std::size_t i = 0; i < length; ++i) EXPECT_EQ(source[length - 1 - i], flipped[i]);
    EXPECT_EQ(77, flipped[length]);
  }
}

TEST(Vector, OverlapsAndAddsWithEveryInstructionSet) {
  for (const auto& set : AllKernelSets()) {
    for (const std::size_t length : kVectorLengths) {
      const auto tail = RandomValues(length, 4), head = RandomValues(length, 5),
                 rise = RandomValues(length, 6, 1);
      auto sums = RandomValues(length + 1, 7);
      const float guard = sums[length];
      set.kernels->overlapAdd(tail.data(), head.data(), rise.data(), sums.data(), length);
      for (std::size_t i = 0; i < length; ++i) {
        const double expected =
            static_cast<double>(tail[i]) * rise[length - 1 - i] + static_cast<double>(head[i]) * rise[i];
        EXPECT_NEAR(expected, sums[i], 0.02) << set.name << " " << length;
      }
      EXPECT_EQ(guard, sums[length]);
    }
  }
}

TEST(Deinterleave, DeinterleavesWithEveryInstructionSet) {
  for (const auto& set : AllKernelSets()) {
    for (std::size_t channels = 1; channels <= 4; ++channels) {
      for (const std::size_t length : kVectorLengths) {
        const auto source = RandomValues(length * channels, 8);
        std::vector<std::vector<float>> planes(channels, std::vector<float>(length + 1, 77));
        std::vector<float*> pointers;
        for (auto& plane : planes) pointers.push_back(plane.data());
        set.kernels->deinterleave(source.data(), channels, length, pointers.data());
        for (std::size_t c = 0; c < channels; ++c) {
          for (std::size_t i = 0; i < length; ++i) EXPECT_EQ(source[i * channels + c], planes[c][i]);
          EXPECT_EQ(77, planes[c][length]) << set.name;
        }
      }
    }
  }
}

TEST(Join, RoundsSaturatesAndInterleavesWithEveryInstructionSet) {
  for (const auto& set : AllKernelSets()) {
    for (std::size_t channels = 1; channels <= 8; ++channels) {
      for (const std::size_t length : kVectorLengths) {
        std::vector<std::vector<float>> planes;
        std::vector<const float*> pointers;
        for (std::size_t c = 0; c < channels; ++c) planes.push_back(RandomValues(length, 10 + unsigned(c)));
        for (const auto& plane : planes) pointers.push_back(plane.data());
        std::vector<Ipp16s> joined(length * channels + 1, 77);
        set.kernels->join(pointers.data(), channels, length, joined.data());
        for (std::size_t i = 0; i < length; ++i) {
          for (std::size_t c = 0; c < channels; ++c) {
            const double rounded = std::nearbyint(static_cast<double>(planes[c][i]));
            EXPECT_EQ(std::min(std::max(rounded, -32768.0), 32767.0), joined[i * channels + c]);
          }
        }
        EXPECT_EQ(77, joined.back()) << set.name;
      }
    }
  }
}

TEST(Join, WritesToAnyAddress) {
  const auto left = RandomValues(37, 1), right = RandomValues(37, 2), third = RandomValues(37, 3);
  const float* planes[3] = {left.data(), right.data(), third.data()};
  for (const auto& set : AllKernelSets()) {
    for (std::size_t channels = 1; channels <= 3; ++channels) {
      std::vector<Ipp16s> aligned(37 * channels);
      std::vector<Ipp8u> bytes(37 * channels * 2 + 1);
      set.kernels->join(planes, channels, 37, aligned.data());
      set.kernels->join(planes, channels, 37, reinterpret_cast<Ipp16s*>(bytes.data() + 1));
      EXPECT_EQ(0, std::memcmp(aligned.data(), bytes.data() + 1, aligned.size() * 2)) << set.name;
    }
  }
}

TEST(Join, RoundsTiesToEvenAndOutputsNaNAsSilence) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  std::vector<float> source;
  std::vector<Ipp16s> expected;
  for (int i = 0; i < 4; ++i) {  // enough for full vectors and a remainder
    for (const auto& [value, rounded] : std::vector<std::pair<float, Ipp16s>>{{0.5f, 0},
                                                                              {1.5f, 2},
                                                                              {-2.5f, -2},
                                                                              {32767.4f, 32767},
                                                                              {1e30f, 32767},
                                                                              {-1e30f, -32768},
                                                                              {infinity, 32767},
                                                                              {-infinity, -32768},
                                                                              {nan, 0}}) {
      source.push_back(value);
      expected.push_back(rounded);
    }
  }
  const std::vector<float> backwards(source.rbegin(), source.rend());
  std::vector<Ipp16s> expectedPairs;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    expectedPairs.push_back(expected[i]);
    expectedPairs.push_back(expected[expected.size() - 1 - i]);
  }
  const float* planes[2] = {source.data(), backwards.data()};
  for (const auto& set : AllKernelSets()) {
    std::vector<Ipp16s> joined(source.size()), pairs(2 * source.size());
    set.kernels->join(planes, 1, source.size(), joined.data());
    EXPECT_EQ(expected, joined) << set.name;
    set.kernels->join(planes, 2, source.size(), pairs.data());
    EXPECT_EQ(expectedPairs, pairs) << set.name;
  }
}

TEST(Vector, ReportsMissingPointers) {
  float value = 0;
  Ipp16s integer = 0;
  Ipp16u offset = 0;
  const float* plane = &value;
  EXPECT_EQ(ippStsNullPtrErr, ippsPow43_16s32f(nullptr, &value, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsCalcSF_16s32f(&integer, 100, nullptr, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsScale_32f_I(nullptr, &value, &offset, 0));
  EXPECT_EQ(ippStsNullPtrErr, ippsMulC_32f_I(1, nullptr, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsLimit_32f_I(1, nullptr, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsAddProductC_32f(nullptr, 1, &value, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsMul_32f(&value, nullptr, &value, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsAddProduct_32f(&value, &value, nullptr, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsFlip_32f(&value, nullptr, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsButterfly_32f_I(&value, nullptr, 1));
  EXPECT_EQ(ippStsNullPtrErr, ippsOverlapAdd_32f(&value, &value, nullptr, &value, 1));
  float* const target = &value;
  EXPECT_EQ(ippStsNullPtrErr, ippsDeinterleave_32f(nullptr, 1, 1, &target));
  EXPECT_EQ(ippStsSizeErr, ippsDeinterleave_32f(&value, 0, 1, &target));
  EXPECT_EQ(ippStsNullPtrErr, ippsJoin_32f16s_D2L(nullptr, 1, 1, &integer));
  EXPECT_EQ(ippStsSizeErr, ippsJoin_32f16s_D2L(&plane, 0, 1, &integer));
}

TEST(Vector, ForwardsToTheActiveKernels) {
  float values[2] = {1, 2}, sums[2] = {10, 20}, a[2] = {5, 6}, b[2] = {1, 2};
  const Ipp16u offsets[2] = {0, 2};
  const float factor = 3;
  EXPECT_EQ(ippStsNoErr, ippsScale_32f_I(values, &factor, offsets, 1));
  EXPECT_EQ(6, values[1]);
  EXPECT_EQ(ippStsNoErr, ippsMulC_32f_I(2, values, 2));
  EXPECT_EQ(12, values[1]);
  EXPECT_EQ(ippStsNoErr, ippsAddProductC_32f(values, 1, sums, 2));
  EXPECT_EQ(32, sums[1]);
  EXPECT_EQ(ippStsNoErr, ippsAddProduct_32f(a, b, sums, 2));
  EXPECT_EQ(44, sums[1]);
  float product[2];
  EXPECT_EQ(ippStsNoErr, ippsMul_32f(a, b, product, 2));
  EXPECT_EQ(12, product[1]);
  EXPECT_EQ(ippStsNoErr, ippsButterfly_32f_I(a, b, 2));
  EXPECT_EQ(8, a[1]);
  EXPECT_EQ(4, b[1]);
  float even = 0, odd = 0;
  float* const targets[2] = {&even, &odd};
  EXPECT_EQ(ippStsNoErr, ippsDeinterleave_32f(a, 2, 1, targets));
  EXPECT_EQ(a[0], even);
  EXPECT_EQ(a[1], odd);
  const float rise[2] = {0, 1};
  EXPECT_EQ(ippStsNoErr, ippsOverlapAdd_32f(a, b, rise, sums, 2));
  EXPECT_EQ(6, sums[0]);
  EXPECT_EQ(4, sums[1]);
}

}  // namespace

}  // namespace fmp4
