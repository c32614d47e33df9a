#include "plugin/rates.h"

#include <gtest/gtest.h>

namespace fmp4 {

TEST(ReduceRate, DividesOnceByAHundredOrByTen) {
  const auto reduced = [](std::int64_t rate, std::int64_t scale) {
    const RateScale value = reduceRate({rate, scale});
    return std::pair(value.rate, value.scale);
  };
  EXPECT_EQ(reduced(30000, 1001), std::pair(std::int64_t{30000}, std::int64_t{1001}));
  EXPECT_EQ(reduced(25000, 1000), std::pair(std::int64_t{250}, std::int64_t{10}));
  EXPECT_EQ(reduced(60000, 1000), std::pair(std::int64_t{600}, std::int64_t{10}));
  EXPECT_EQ(reduced(250, 10), std::pair(std::int64_t{25}, std::int64_t{1}));
  EXPECT_EQ(reduced(-500, 100), std::pair(std::int64_t{-5}, std::int64_t{1}));
}

TEST(SnapFrameRate, FollowsTheTableGapsIncluded) {
  struct {
    FrameRate nominal;
    std::uint32_t rate, scale;
  } const rows[] = {
      {{10, 1}, 1000, 100},
      {{15000, 1001}, 1400, 100},
      {{22999, 1000}, 2200, 100},
      {{23, 1}, 24000, 1001},
      {{24000, 1001}, 24000, 1001},
      {{23999, 1000}, 24000, 1001},
      {{24, 1}, 24, 1},
      {{24999, 1000}, 24, 1},
      {{25, 1}, 25, 1},
      {{28999, 1000}, 25, 1},
      {{29, 1}, 30000, 1001},
      {{90000, 3003}, 30000, 1001},
      {{29999, 1000}, 30000, 1001},
      {{30, 1}, 30, 1},
      {{48, 1}, 30, 1},
      {{48000, 1001}, 30, 1},
      {{49999, 1000}, 30, 1},
      {{50, 1}, 50, 1},
      {{58999, 1000}, 50, 1},
      {{59, 1}, 60000, 1001},
      {{595, 10}, 60000, 1001},
      {{60000, 1001}, 60000, 1001},
      {{60, 1}, 60, 1},
      {{60999, 1000}, 60, 1},
      {{61, 1}, 6100, 100},
      {{120, 1}, 12000, 100},
      {{120000, 1001}, 11900, 100},
  };
  for (const auto& row : rows) {
    const FrameRate snapped = snapFrameRate(row.nominal);
    EXPECT_EQ(snapped.numerator, row.rate) << row.nominal.value();
    EXPECT_EQ(snapped.denominator, row.scale) << row.nominal.value();
  }
}

TEST(TimecodeRateOf, KnowsTheBroadcastRates) {
  EXPECT_EQ(timecodeRateOf(24), 1u);
  EXPECT_EQ(timecodeRateOf(24000), 128u);
  EXPECT_EQ(timecodeRateOf(2398), 128u);
  EXPECT_EQ(timecodeRateOf(25), 8u);
  EXPECT_EQ(timecodeRateOf(50), 8u);
  EXPECT_EQ(timecodeRateOf(30), 2u);
  EXPECT_EQ(timecodeRateOf(60), 2u);
  EXPECT_EQ(timecodeRateOf(30000), 4u);
  EXPECT_EQ(timecodeRateOf(60000), 4u);
  EXPECT_EQ(timecodeRateOf(2997), 4u);
  EXPECT_EQ(timecodeRateOf(12000), 1u);
}

}  // namespace fmp4
