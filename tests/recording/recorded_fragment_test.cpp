// The state of a fragment on the disk.
#include "recording/check/recorded_fragment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace fmp4 {

namespace {

// Three disk blocks with a range of zero bytes.
std::vector<std::uint8_t> withZeros(std::ptrdiff_t from, std::ptrdiff_t to) {
  std::vector<std::uint8_t> bytes(3 * 4096, 1);
  std::fill(bytes.begin() + from, bytes.begin() + to, 0);
  return bytes;
}

bool isUnwritten(const std::vector<std::uint8_t>& bytes, std::uint64_t begin, std::uint64_t end,
                 std::ptrdiff_t fewest = kMinUnwritten) {
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  return hasUnwrittenData(stream, begin, end, fewest);
}

TEST(UnwrittenData, IsABlockOfZeros) {
  EXPECT_TRUE(isUnwritten(withZeros(4096, 8192), 100, 12288));
  EXPECT_TRUE(isUnwritten(withZeros(4096, 8192), 100, 12288, kMinUnwrittenAc3));
  EXPECT_FALSE(isUnwritten(withZeros(4097, 8192), 100, 12288));
  EXPECT_FALSE(isUnwritten(withZeros(4096, 8191), 100, 12288));
}

TEST(UnwrittenData, IsThePartOfSuchABlockInAFragment) {
  EXPECT_TRUE(isUnwritten(withZeros(8192, 8704), 100, 8704));
  EXPECT_FALSE(isUnwritten(withZeros(8192, 8703), 100, 8703));
  EXPECT_TRUE(isUnwritten(withZeros(3584, 4096), 3584, 8192));
  EXPECT_FALSE(isUnwritten(withZeros(3585, 4096), 3585, 8192));
}

TEST(UnwrittenData, IsNotThePaddingOfAnAc3Frame) {
  EXPECT_FALSE(isUnwritten(withZeros(8192, 12031), 100, 12031, kMinUnwrittenAc3));
  EXPECT_TRUE(isUnwritten(withZeros(8192, 12032), 100, 12032, kMinUnwrittenAc3));
}

}  // namespace

}  // namespace fmp4
