#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "dsp/ipps_fdp.h"

namespace fmp4 {

using namespace UMC;

namespace {

constexpr Ipp16u kOne = 0x3F80;  // the initial variance of a predictor

IppsFDPState_32f Adapted() {
  IppsFDPState_32f state;
  ippsFDPInit_32f(&state);
  const Ipp16u offsets[] = {0, kFdpLines};
  for (int i = 0; i < 3; ++i) {
    std::vector<float> lines(kFdpLines, 100.0f);
    EXPECT_EQ(ippStsNoErr, ippsFDPInv_32f_I(lines.data(), offsets, 1, 0, &state));
    EXPECT_EQ(std::vector<float>(kFdpLines, 100.0f), lines) << "unused lines are kept";
  }
  return state;
}

TEST(Fdp, AdaptsByTheRecurrencesIn16BitNumbers) {
  IppsFDPState_32f state;
  ippsFDPInit_32f(&state);
  const Ipp16u offsets[] = {0, 1};
  float line = 3;
  ASSERT_EQ(ippStsNoErr, ippsFDPInv_32f_I(&line, offsets, 1, 1, &state));
  EXPECT_EQ(3, line);
  EXPECT_EQ(0x40AD, state.variance1[0]);  // 0.90625 + 9 / 2 = 5.40625
  EXPECT_EQ(0x40AD, state.variance2[0]);
  EXPECT_EQ(0x4037, state.r0[0]);  // 2.859375
  EXPECT_EQ(0, state.r1[0]);
  EXPECT_EQ(0, state.correlation1[0]);

  // k1 is still 0: the second value goes in unchanged, and meets the first in the correlation.
  line = 2;
  ASSERT_EQ(ippStsNoErr, ippsFDPInv_32f_I(&line, offsets, 1, 1, &state));
  EXPECT_EQ(2, line);
  EXPECT_EQ(0x40B7, state.correlation1[0]);  // 5.71875
  EXPECT_EQ(0x412F, state.variance1[0]);     // 4.8994140625 + (8.176025390625 + 4) / 2 = 10.98...
  EXPECT_EQ(0x3FF4, state.r0[0]);            // 1.90625
  EXPECT_EQ(0x402E, state.r1[0]);            // 2.7252..., truncated to 2.71875

  // k1 = 5.71875 * (0.953125 / 10.9375, rounded to 0.08691...), k2 = 0.
  line = 0;
  ASSERT_EQ(ippStsNoErr, ippsFDPInv_32f_I(&line, offsets, 1, 1, &state));
  EXPECT_NEAR(5.71875 * 0.953125 / 10.9375 * 1.90625, line, 0.01);
  EXPECT_NE(0, line);
}

TEST(Fdp, ResetsGroupsOfLinesThirtyApart) {
  for (std::size_t group = 1; group <= 30; ++group) {
    IppsFDPState_32f state = Adapted();
    ASSERT_EQ(ippStsNoErr, ippsFDPResetGroup_32f(group, &state));
    for (std::size_t line = 0; line < kFdpLines; ++line) {
      EXPECT_EQ(line % 30 == group - 1, state.variance1[line] == kOne) << line;
    }
  }
}

// Half a unit in the last place is rounded away from zero: 305/128 becomes 306/128.
TEST(Fdp, RoundsHalvesOfThePredictionAwayFromZero) {
  const Ipp16u offsets[] = {0, 1};
  for (const bool isNegative : {false, true}) {
    IppsFDPState_32f state;
    ASSERT_EQ(ippStsNoErr, ippsFDPInit_32f(&state));
    state.variance1[0] = 0x4000;   // 2, by which k1 is 0.953125 / 2 times the correlation
    state.correlation1[0] = kOne;  // 1
    state.r0[0] = isNegative ? Ipp16u{0xC0A0} : Ipp16u{0x40A0};  // -5 or 5
    float line = 0;
    ASSERT_EQ(ippStsNoErr, ippsFDPInv_32f_I(&line, offsets, 1, 1, &state));
    EXPECT_EQ(isNegative ? -306.0f / 128 : 306.0f / 128, line);
  }
}

TEST(Fdp, ResetsWhereEitherVarianceOverflows) {
  const Ipp16u offsets[] = {0, 1};
  for (const bool isSecond : {false, true}) {
    IppsFDPState_32f state;
    ASSERT_EQ(ippStsNoErr, ippsFDPInit_32f(&state));
    (isSecond ? state.r1 : state.r0)[0] = 0x5F80;  // 2^64, whose square overflows a float
    float line = 1;
    ASSERT_EQ(ippStsNoErr, ippsFDPInv_32f_I(&line, offsets, 1, 1, &state));
    EXPECT_EQ(1, line);
    EXPECT_EQ(kOne, state.variance1[0]);
    EXPECT_EQ(kOne, state.variance2[0]);
    EXPECT_EQ(0, state.r0[0]);
    EXPECT_EQ(0, state.r1[0]);
  }
}

TEST(Fdp, StartsFromTheInitialStateWhateverTheMemoryHeld) {
  IppsFDPState_32f state, reset = Adapted();
  std::memset(&state, 0xEE, sizeof state);
  ASSERT_EQ(ippStsNoErr, ippsFDPInit_32f(&state));
  ASSERT_EQ(ippStsNoErr, ippsFDPReset_32f(&reset));
  EXPECT_EQ(0, std::memcmp(&state, &reset, sizeof state));
  EXPECT_EQ(kOne, state.variance1[kFdpLines - 1]);
}

TEST(Fdp, ResetsRangesOfLines) {
  IppsFDPState_32f state = Adapted();
  ASSERT_EQ(ippStsNoErr, ippsFDPResetLines_32f(10, 20, &state));
  for (std::size_t line = 0; line < kFdpLines; ++line) {
    EXPECT_EQ(line >= 10 && line < 20, state.variance2[line] == kOne) << line;
  }
}

TEST(Fdp, RejectsInvalidArguments) {
  IppsFDPState_32f state;
  ASSERT_EQ(ippStsNoErr, ippsFDPReset_32f(&state));
  std::vector<float> lines(1024);
  const Ipp16u offsets[] = {0, kFdpLines + 1};
  EXPECT_EQ(ippStsSizeErr, ippsFDPInv_32f_I(lines.data(), offsets, 1, 0, &state));
  EXPECT_EQ(ippStsSizeErr, ippsFDPInv_32f_I(lines.data(), offsets, 65, 0, &state));
  EXPECT_EQ(ippStsSizeErr, ippsFDPResetLines_32f(0, kFdpLines + 1, &state));
  EXPECT_EQ(ippStsSizeErr, ippsFDPResetGroup_32f(0, &state));
  EXPECT_EQ(ippStsSizeErr, ippsFDPResetGroup_32f(31, &state));
  EXPECT_EQ(ippStsNullPtrErr, ippsFDPInit_32f(nullptr));
  EXPECT_EQ(ippStsNullPtrErr, ippsFDPReset_32f(nullptr));
  EXPECT_EQ(ippStsNullPtrErr, ippsFDPResetGroup_32f(1, nullptr));
  EXPECT_EQ(ippStsNullPtrErr, ippsFDPInv_32f_I(nullptr, nullptr, 0, 0, nullptr));
}

TEST(Fdp, DoesNotPredictASignalTooWeakToEstimate) {
  const Ipp16u offsets[] = {0, 1};
  // Variances of 0.5, 1 and 1.5, by which k1 is 0.953125 / 1.5 in 16 bits.
  for (const auto& [variance, expected] :
       {std::pair{Ipp16u{0x3F00}, 0.0f}, {kOne, 0.0f}, {Ipp16u{0x3FC0}, 8 * 163 / 256.0f}}) {
    IppsFDPState_32f state;
    ASSERT_EQ(ippStsNoErr, ippsFDPInit_32f(&state));
    state.variance1[0] = variance;
    state.correlation1[0] = kOne;
    state.r0[0] = 0x4100;  // 8
    float line = 0;
    ASSERT_EQ(ippStsNoErr, ippsFDPInv_32f_I(&line, offsets, 1, 1, &state));
    EXPECT_EQ(expected, line);
  }
}

}  // namespace

}  // namespace fmp4
