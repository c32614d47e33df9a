#include "tool/export/wave_header.h"

#include <gtest/gtest.h>

#include <string>

namespace fmp4 {

namespace {

std::string textAt(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(offset),
          bytes.begin() + static_cast<std::ptrdiff_t>(offset + 4)};
}
std::uint64_t numberAt(const std::vector<std::uint8_t>& bytes, std::size_t offset, unsigned count) {
  std::uint64_t value = 0;
  for (unsigned i = count; i-- > 0;) value = value << 8 | bytes[offset + i];
  return value;
}

TEST(WaveHeader, BelowFourGibibytesIsRiff) {
  const auto head = waveHeader({48000, 2, 16}, 1000);
  ASSERT_EQ(head.size(), 104u);
  EXPECT_EQ(textAt(head, 0), "RIFF");
  EXPECT_EQ(numberAt(head, 4, 4), 104u - 8 + 1000);
  EXPECT_EQ(textAt(head, 8), "WAVE");
  EXPECT_EQ(textAt(head, 12), "JUNK") << "room for the sizes that only a long file needs";
  EXPECT_EQ(textAt(head, 48), "fmt ");
  EXPECT_EQ(numberAt(head, 56, 2), 1u);
  EXPECT_EQ(numberAt(head, 58, 2), 2u);
  EXPECT_EQ(numberAt(head, 60, 4), 48000u);
  EXPECT_EQ(numberAt(head, 64, 4), 192000u);
  EXPECT_EQ(numberAt(head, 68, 2), 4u);
  EXPECT_EQ(numberAt(head, 70, 2), 16u);
  EXPECT_EQ(textAt(head, 96), "data");
  EXPECT_EQ(numberAt(head, 100, 4), 1000u);
}

TEST(WaveHeader, BeyondFourGibibytesIsRf64) {
  const std::uint64_t data = 5ull << 30;
  const auto head = waveHeader({48000, 2, 16}, data);
  ASSERT_EQ(head.size(), 104u);
  EXPECT_EQ(textAt(head, 0), "RF64");
  EXPECT_EQ(numberAt(head, 4, 4), 0xFFFFFFFFu);
  EXPECT_EQ(textAt(head, 12), "ds64");
  EXPECT_EQ(numberAt(head, 16, 4), 28u);
  EXPECT_EQ(numberAt(head, 20, 8), data + 104 - 8);
  EXPECT_EQ(numberAt(head, 28, 8), data);
  EXPECT_EQ(numberAt(head, 36, 8), data / 4);
  EXPECT_EQ(numberAt(head, 100, 4), 0xFFFFFFFFu);
}

TEST(WaveHeader, MoreThanTwoChannelsHaveASpeakerMask) {
  const auto head = waveHeader({48000, 6, 16}, 0);
  EXPECT_EQ(numberAt(head, 56, 2), 0xFFFEu);
  EXPECT_EQ(numberAt(head, 76, 4), 0x3Fu);
  EXPECT_EQ(numberAt(head, 80, 2), 1u) << "PCM";
}

TEST(WaveHeader, OfOddSizesCountsThePadding) {
  const auto head = waveHeader({8000, 1, 8}, 1001);
  EXPECT_EQ(numberAt(head, 4, 4), 104u - 8 + 1002);
  EXPECT_EQ(numberAt(head, 100, 4), 1001u);
}

TEST(WaveHeader, UpToEightChannelsHaveSpeakers) {
  EXPECT_EQ(numberAt(waveHeader({48000, 8, 16}, 0), 76, 4), 0x63Fu);
  EXPECT_EQ(numberAt(waveHeader({48000, 9, 16}, 0), 76, 4), 0u);
}

}  // namespace

}  // namespace fmp4
