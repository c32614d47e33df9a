#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "plugin/audio_track.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

std::array<std::uint8_t, 7> headerOf(std::uint8_t asc0, std::uint8_t asc1, std::uint32_t sampleBytes) {
  std::array<std::uint8_t, 7> bytes{};
  AdtsHeader({asc0, asc1}).write(sampleBytes, bytes.data());
  return bytes;
}

TEST(AdtsHeader, IsBuiltFromTheConfigurationWithItsOwnLayout) {
  // LC, 48 kHz, stereo: 0x11 0x90. The object type's low bits are written as the profile.
  EXPECT_THAT(headerOf(0x11, 0x90, 93), ElementsAre(0xFF, 0xF1, 0x8C, 0x80, 100 >> 3, (100 & 3) << 5, 0));
}

TEST(AdtsHeader, CarriesTheLengthWithoutItsBitTwoAndWithoutItsHighBits) {
  const auto length = [](std::uint32_t sampleBytes) {
    const auto bytes = headerOf(0x11, 0x90, sampleBytes);
    return std::pair<int, int>(bytes[4], bytes[5]);
  };
  EXPECT_EQ(length(7), std::pair(14 >> 3, (14 & 3) << 5));
  EXPECT_EQ(length(1000), std::pair(1007 >> 3, (1007 & 3) << 5));
  EXPECT_EQ(length(3000), std::pair((3007 >> 3) & 0xFF, (3007 & 3) << 5));
}

TEST(AdtsHeader, TheChannelConfigurationIsTwoUnlessItsLowBitsAreZero) {
  // Only the configuration's two low bits count: 1, 2 and 3 become 2, and 0 stays 0.
  for (std::uint8_t configuration = 0; configuration < 8; ++configuration) {
    const auto asc1 = static_cast<std::uint8_t>(0x80 | configuration << 3);
    EXPECT_EQ(headerOf(0x11, asc1, 10)[3], configuration % 4 ? 0x80 : 0x00) << int{configuration};
  }
}

TEST(AdtsHeader, HasASamplingFrequencyUnlessItsIndexIsReserved) {
  for (std::uint8_t index = 0; index < 16; ++index) {
    const auto asc0 = static_cast<std::uint8_t>(2 << 3 | index >> 1);
    const auto asc1 = static_cast<std::uint8_t>((index & 1) << 7 | 2 << 3);
    EXPECT_EQ(index < 13, AdtsHeader({asc0, asc1}).hasFrequency()) << int{index};
  }
}

TEST(AdtsHeader, TheSamplingFrequencyIndexIsInItsField) {
  for (std::uint8_t index = 0; index < 13; ++index) {
    const auto asc0 = static_cast<std::uint8_t>(2 << 3 | index >> 1);
    const auto asc1 = static_cast<std::uint8_t>((index & 1) << 7 | 2 << 3);
    EXPECT_EQ(headerOf(asc0, asc1, 10)[2], 0x80 | index << 2) << int{index};
  }
}

}  // namespace

}  // namespace fmp4
