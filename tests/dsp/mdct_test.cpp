#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "dsp/ipps_mdct.h"
#include "tests/dsp/kernel_sets.h"

namespace fmp4 {

using namespace UMC;

namespace {

template <class Transform, auto kGetSize, auto kInit>
struct Prepared {
  explicit Prepared(Ipp32s length) {
    Ipp32s planBytes = 0, workBytes = 0;
    EXPECT_EQ(ippStsNoErr, kGetSize(length, &planBytes, &workBytes));
    memory.resize(static_cast<std::size_t>(planBytes) / sizeof(float) + 1);
    work.resize(static_cast<std::size_t>(workBytes) / sizeof(float));
    EXPECT_EQ(ippStsNoErr, kInit(&plan, length, reinterpret_cast<Ipp8u*>(memory.data())));
  }
  std::vector<float> memory, work;
  Transform* plan = nullptr;
};
using Plan = Prepared<IppsMDCTInvSpec_32f, ippsMDCTInvGetSize_32f, ippsMDCTInvInit_32f>;
using ForwardPlan = Prepared<IppsMDCTFwdSpec_32f, ippsMDCTFwdGetSize_32f, ippsMDCTFwdInit_32f>;

std::vector<double> Definition(const std::vector<float>& coefficients) {
  const std::size_t length = 2 * coefficients.size();
  const auto n = static_cast<double>(length);
  const double n0 = (n / 2 + 1) / 2;
  std::vector<double> samples(length);
  for (std::size_t i = 0; i < length; ++i) {
    double sum = 0;
    for (std::size_t k = 0; k < coefficients.size(); ++k) {
      sum += coefficients[k] * std::cos(2 * std::numbers::pi / n * (static_cast<double>(i) + n0) *
                                        (static_cast<double>(k) + 0.5));
    }
    samples[i] = 2 / n * sum;
  }
  return samples;
}

std::vector<double> ForwardDefinition(const std::vector<float>& samples) {
  const auto n = static_cast<double>(samples.size());
  const double n0 = (n / 2 + 1) / 2;
  std::vector<double> coefficients(samples.size() / 2);
  for (std::size_t k = 0; k < coefficients.size(); ++k) {
    double sum = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      sum += samples[i] * std::cos(2 * std::numbers::pi / n * (static_cast<double>(i) + n0) *
                                   (static_cast<double>(k) + 0.5));
    }
    coefficients[k] = 2 * sum;
  }
  return coefficients;
}

std::vector<float> LoudNoise(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> uniform(-32768, 32767);
  std::vector<float> values(count);
  for (auto& value : values) value = uniform(random);
  return values;
}

// Within some millionths of the expected values' magnitude.
void ExpectNearOnAverage(const std::vector<double>& expected, const std::vector<float>& values) {
  ASSERT_EQ(expected.size(), values.size());
  double power = 0, worst = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    power += expected[i] * expected[i];
    worst = std::max(worst, std::abs(static_cast<double>(values[i]) - expected[i]));
  }
  EXPECT_LT(worst, 4e-6 * std::sqrt(power / static_cast<double>(values.size())));
}

class MdctLength : public testing::TestWithParam<Ipp32s> {};

TEST_P(MdctLength, EqualsItsDefiningSumWithEveryInstructionSet) {
  const Ipp32s length = GetParam();
  Plan plan(length);
  const auto coefficients = LoudNoise(static_cast<std::size_t>(length) / 2, 7);
  const auto expected = Definition(coefficients);
  for (const auto& set : AllKernelSets()) {
    SCOPED_TRACE(set.name);
    std::vector<float> samples(static_cast<std::size_t>(length), 1e9f);
    set.kernels->mdctInverse(*plan.plan, coefficients.data(), samples.data(), plan.work.data());
    ExpectNearOnAverage(expected, samples);
  }
}

TEST_P(MdctLength, ForwardEqualsItsDefiningSumWithEveryInstructionSet) {
  const Ipp32s length = GetParam();
  ForwardPlan plan(length);
  const auto samples = LoudNoise(static_cast<std::size_t>(length), 8);
  const auto expected = ForwardDefinition(samples);
  for (const auto& set : AllKernelSets()) {
    SCOPED_TRACE(set.name);
    std::vector<float> coefficients(static_cast<std::size_t>(length) / 2, 1e9f);
    set.kernels->mdctForward(*plan.plan, samples.data(), coefficients.data(), plan.work.data());
    ExpectNearOnAverage(expected, coefficients);
  }
}

INSTANTIATE_TEST_SUITE_P(AacAndOthers, MdctLength,
                         testing::Values(16, 32, 48, 64, 80, 96, 128, 240, 256, 512, 1920, 2048));

// Lengths of whole vectors, so that neither way rounds single values differently.
TEST(Mdct, OverlapAddsInPlaceAsItUnfoldsWithEveryInstructionSet) {
  for (const Ipp32s length : {256, 512, 1920, 2048}) {
    Plan plan(length);
    const auto half = static_cast<std::size_t>(length) / 2;
    const auto coefficients = LoudNoise(half, 7), rise = LoudNoise(half, 8), before = LoudNoise(half, 9);
    for (const auto& set : AllKernelSets()) {
      SCOPED_TRACE(set.name + ", " + std::to_string(length));
      std::vector<float> samples(2 * half), expected(half);
      set.kernels->mdctInverse(*plan.plan, coefficients.data(), samples.data(), plan.work.data());
      set.kernels->overlapAdd(before.data(), samples.data(), rise.data(), expected.data(), half);
      std::vector<float> values = coefficients, tail = before;
      set.kernels->mdctOverlap(*plan.plan, values.data(), rise.data(), tail.data(), values.data(),
                               plan.work.data());
      EXPECT_EQ(expected, values);
      EXPECT_EQ(std::vector<float>(samples.begin() + length / 2, samples.end()), tail);
    }
  }
}

TEST(Mdct, AnswersAnImpulseWithTheFirstBasisFunction) {
  Plan plan(2048);
  std::vector<float> coefficients(1024, 0.0f), samples(2048);
  coefficients[0] = 1;
  ASSERT_EQ(ippStsNoErr, ippsMDCTInv_32f(coefficients.data(), samples.data(), plan.plan,
                                         reinterpret_cast<Ipp8u*>(plan.work.data())));
  EXPECT_NEAR(0.00069000413, samples[0], 1e-9);
}

TEST(Mdct, ForwardAndInverseGiveTheSignalAndItsAlias) {
  constexpr std::size_t kLength = 256, kHalf = kLength / 2;
  ForwardPlan forward(kLength);
  Plan inverse(kLength);
  const auto signal = LoudNoise(kLength, 5);
  std::vector<float> coefficients(kHalf), samples(kLength);
  ASSERT_EQ(ippStsNoErr, ippsMDCTFwd_32f(signal.data(), coefficients.data(), forward.plan,
                                         reinterpret_cast<Ipp8u*>(forward.work.data())));
  ASSERT_EQ(ippStsNoErr, ippsMDCTInv_32f(coefficients.data(), samples.data(), inverse.plan,
                                         reinterpret_cast<Ipp8u*>(inverse.work.data())));
  for (std::size_t i = 0; i < kHalf; ++i) {
    EXPECT_NEAR(signal[i] - signal[kHalf - 1 - i], samples[i], 0.1);
    EXPECT_NEAR(signal[kHalf + i] + signal[kLength - 1 - i], samples[kHalf + i], 0.1);
  }
}

TEST(Mdct, KeepsWorkingWhenThePlanIsMoved) {
  Plan plan(256);
  const auto coefficients = LoudNoise(128, 3);
  std::vector<float> before(256), after(256);
  auto* work = reinterpret_cast<Ipp8u*>(plan.work.data());
  ippsMDCTInv_32f(coefficients.data(), before.data(), plan.plan, work);
  std::vector<float> moved = plan.memory;
  std::fill(plan.memory.begin(), plan.memory.end(), 0.0f);
  ippsMDCTInv_32f(coefficients.data(), after.data(),
                  reinterpret_cast<const IppsMDCTInvSpec_32f*>(moved.data()), work);
  EXPECT_EQ(before, after);
}

TEST(Mdct, RejectsLengthsWithoutAPlan) {
  Ipp32s planBytes = 0, workBytes = 0;
  for (const Ipp32s length : {-16, 0, 8, 20, 2050, 112, 1 << 20}) {
    EXPECT_EQ(ippStsSizeErr, ippsMDCTInvGetSize_32f(length, &planBytes, &workBytes)) << length;
    EXPECT_EQ(ippStsSizeErr, ippsMDCTFwdGetSize_32f(length, &planBytes, &workBytes)) << length;
  }
  EXPECT_EQ(ippStsNullPtrErr, ippsMDCTInvGetSize_32f(256, nullptr, &workBytes));
  EXPECT_EQ(ippStsNullPtrErr, ippsMDCTInvInit_32f(nullptr, 256, nullptr));
  EXPECT_EQ(ippStsNullPtrErr, ippsMDCTInv_32f(nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ippStsNullPtrErr, ippsMDCTInvOverlap_32f(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ippStsNullPtrErr, ippsMDCTFwdGetSize_32f(256, &planBytes, nullptr));
  EXPECT_EQ(ippStsNullPtrErr, ippsMDCTFwdInit_32f(nullptr, 256, nullptr));
  EXPECT_EQ(ippStsNullPtrErr, ippsMDCTFwd_32f(nullptr, nullptr, nullptr, nullptr));
}

}  // namespace

}  // namespace fmp4
