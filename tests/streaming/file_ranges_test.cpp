#include "streaming/index/file_ranges.h"

#include <gtest/gtest.h>

namespace fmp4 {

namespace {

TEST(FileRanges, AnOffsetOutsideEveryRangeIsItsOwnEnd) {
  FileRanges ranges;
  EXPECT_EQ(ranges.endOf(5), 5u);
  ranges.add(10, 20);
  EXPECT_EQ(ranges.endOf(9), 9u);
  EXPECT_EQ(ranges.endOf(10), 20u);
  EXPECT_EQ(ranges.endOf(19), 20u);
  EXPECT_EQ(ranges.endOf(20), 20u);
  EXPECT_EQ(ranges.endOf(21), 21u);
}

TEST(FileRanges, AdjacentAndOverlappingOnesMerge) {
  FileRanges ranges;
  ranges.add(10, 20);
  ranges.add(30, 40);
  ranges.add(20, 25);
  EXPECT_EQ(ranges.endOf(10), 25u);
  ranges.add(5, 12);
  EXPECT_EQ(ranges.endOf(5), 25u);
  ranges.add(24, 30);
  EXPECT_EQ(ranges.endOf(5), 40u);
  ranges.add(0, ~std::uint64_t{0});
  EXPECT_EQ(ranges.endOf(0), ~std::uint64_t{0});
}

TEST(FileRanges, OneInsideAnotherChangesNothing) {
  FileRanges ranges;
  ranges.add(10, 40);
  ranges.add(20, 30);
  EXPECT_EQ(ranges.endOf(35), 40u);
  ranges.add(50, 50);
  EXPECT_EQ(ranges.endOf(50), 50u);
}

}  // namespace

}  // namespace fmp4
