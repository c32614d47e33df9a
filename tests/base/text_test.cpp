#include "base/text.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace fmp4 {

namespace {

TEST(Text, OfBytesAndNumbersIsHexadecimal) {
  EXPECT_EQ(hexText(std::array<std::uint8_t, 3>{0x00, 0x9A, 0xFF}), "009aff");
  EXPECT_EQ(hexText(0xABCu, 4), "0abc");
  EXPECT_EQ(statusText(0xE8024029), "0xE8024029");
}

TEST(Text, OfADurationIsRoundedToMilliseconds) {
  EXPECT_EQ(clockText(83.456), "00:01:23.456");
  EXPECT_EQ(clockText(0.0016), "00:00:00.002");
  EXPECT_EQ(clockText(59.9996), "00:01:00.000");
  EXPECT_EQ(clockText(36000.01), "10:00:00.010");
  EXPECT_EQ(clockText(360'000), "100:00:00.000");
  for (const double none : {-1.0, 1e12, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_EQ(clockText(none), "00:00:00.000") << none;
}

TEST(Text, OfACodeHasItsPrintableCharacters) {
  EXPECT_EQ(fourCcText(0x61766331), "avc1");
  EXPECT_EQ(fourCcText(0x201F7E7F), " \\x1F~\\x7F");
}

TEST(Text, LosesTheCarriageReturnsOfItsLineEndsAlone) {
  EXPECT_EQ(plainLines("a\r\nb\n\rc\r\r\n\r"), "a\nb\n\rc\r\n\r");
}

}  // namespace

}  // namespace fmp4
