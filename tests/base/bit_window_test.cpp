#include "base/bit_window.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

namespace fmp4 {

namespace {

// The bytes in a block of exactly their size, so that a sanitizer detects any read beyond.
struct Bytes {
  explicit Bytes(std::vector<std::uint8_t> from) : size(from.size()), data(new std::uint8_t[from.size()]) {
    std::copy(from.begin(), from.end(), data.get());
  }
  BitWindow Window() const { return {data.get(), size}; }
  std::size_t size;
  std::unique_ptr<std::uint8_t[]> data;
};

TEST(BitWindow, ReadsMostSignificantBitsFirst) {
  const Bytes bytes({0xA5, 0x0F, 0xFF});
  BitWindow window = bytes.Window();
  EXPECT_EQ(0xAu, window.Read(4));
  EXPECT_EQ(0x50Fu, window.Read(12));
  EXPECT_EQ(0u, window.Read(0));
  EXPECT_EQ(16u, window.Position());
  EXPECT_EQ(8u, window.Remaining());
  EXPECT_TRUE(window.ReadFlag());
  EXPECT_EQ(0x7Fu, window.Read(7));
  EXPECT_FALSE(window.Overrun());
}

TEST(BitWindow, ReturnsZerosPastTheEndAndRemembersIt) {
  const Bytes bytes({0xFF});
  BitWindow window = bytes.Window();
  EXPECT_EQ(0xFF00u, window.Read(16));
  EXPECT_TRUE(window.Overrun());
  EXPECT_EQ(0u, window.Remaining());
  EXPECT_EQ(0u, window.Read(32));
  EXPECT_TRUE(window.Overrun());
  EXPECT_EQ(48u, window.Position());
}

TEST(BitWindow, ReadsNothingFromAnEmptyBlock) {
  BitWindow window;
  EXPECT_EQ(0u, window.Remaining());
  EXPECT_EQ(0u, window.Read(1));
  EXPECT_TRUE(window.Overrun());
}

TEST(BitWindow, SeeksAndAligns) {
  const Bytes bytes({0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x10, 0x32});
  BitWindow window = bytes.Window();
  window.Seek(12);
  EXPECT_EQ(0x345u, window.Read(12));
  window.Read(3);
  window.AlignToByte();
  EXPECT_EQ(32u, window.Position());
  window.AlignToByte();
  EXPECT_EQ(32u, window.Position());
  EXPECT_EQ(0x89u, window.Read(8));
  window.Seek(0);
  EXPECT_EQ(0x01234567u, window.Read(32));
  window.Seek(1000);
  EXPECT_TRUE(window.Overrun());
  window.Seek(76);
  EXPECT_FALSE(window.Overrun());
  EXPECT_EQ(2u, window.Read(4));
  EXPECT_EQ(0u, window.Remaining());
}

TEST(BitWindow, AgreesWithBitByBitReadingForAnyWidths) {
  std::mt19937 random(1);
  for (std::size_t size = 0; size < 40; ++size) {
    std::vector<std::uint8_t> content(size);
    for (auto& byte : content) byte = static_cast<std::uint8_t>(random());
    const Bytes bytes(content);
    BitWindow window = bytes.Window();
    std::size_t position = 0;
    while (position < size * 8 + 50) {
      const auto width = static_cast<unsigned>(random() % 33);
      std::uint64_t expected = 0;
      for (unsigned i = 0; i < width; ++i, ++position) {
        const unsigned bit = position < size * 8 ? content[position / 8] >> (7 - position % 8) & 1u : 0u;
        expected = expected << 1 | bit;
      }
      ASSERT_EQ(expected, window.Read(width));
      ASSERT_EQ(position, window.Position());
      ASSERT_EQ(position > size * 8, window.Overrun());
    }
  }
}

}  // namespace

}  // namespace fmp4
