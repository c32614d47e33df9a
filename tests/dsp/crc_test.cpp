#include <gtest/gtest.h>

#include <cstring>

#include "dsp/ipps_crc.h"

namespace fmp4 {

using namespace UMC;

namespace {

const auto* const kDigits = reinterpret_cast<const Ipp8u*>("123456789");

// The catalogued check values of the two codes over the digits 1 to 9.
TEST(Crc, MatchesTheCheckValueOfThe16BitAudioCode) {
  Ipp32u crc = 0xFFFF0000u;
  EXPECT_EQ(ippStsNoErr, ippsCRC32_8u(kDigits, 0, 72, 0x80050000u, &crc));
  EXPECT_EQ(0xAEE7u, crc >> 16);
}

TEST(Crc, MatchesTheCheckValueOfThe32BitCode) {
  Ipp32u crc = 0xFFFFFFFFu;
  EXPECT_EQ(ippStsNoErr, ippsCRC32_8u(kDigits, 0, 72, 0x04C11DB7u, &crc));
  EXPECT_EQ(0x0376E6E7u, crc);
}

TEST(Crc, ContinuesAcrossSplitsAtAnyBit) {
  for (std::size_t split = 0; split <= 72; ++split) {
    Ipp32u crc = 0xFFFF0000u;
    ippsCRC32_8u(kDigits, 0, split, 0x80050000u, &crc);
    ippsCRC32_8u(kDigits, split, 72 - split, 0x80050000u, &crc);
    EXPECT_EQ(0xAEE7u, crc >> 16) << split;
  }
}

TEST(Crc, TakesZeroBitsForANullSource) {
  const Ipp8u zeros[2] = {};
  Ipp32u expected = 0x12345678u, crc = 0x12345678u;
  ippsCRC32_8u(zeros, 0, 13, 0x80050000u, &expected);
  EXPECT_EQ(ippStsNoErr, ippsCRC32_8u(nullptr, 0, 13, 0x80050000u, &crc));
  EXPECT_EQ(expected, crc);
  EXPECT_EQ(ippStsNullPtrErr, ippsCRC32_8u(zeros, 0, 1, 0x80050000u, nullptr));
}

}  // namespace

}  // namespace fmp4
