#include <gtest/gtest.h>

#include "qvr.h"
#include "tcxlat.h"

namespace fmp4 {

namespace {

TEST(Timecode, IsTheStartPlusTheFrame) {
  EXPECT_EQ(TCXlat(0, 0, 4), 0u);
  EXPECT_EQ(TCXlat(108000, 250, 2), 108250u);
}

TEST(Timecode, IsTheFrameWhereNoStartIsSet) {
  EXPECT_EQ(TCXlat(QVR_NOT_SET, 5, 2), 5u);
  EXPECT_EQ(TCXlat(QVR_NOT_SET, 5000000, 2), 5000000u);
}

TEST(Timecode, DayWrapsAtItsRate) {
  EXPECT_EQ(TCXlat(2073599, 1, 1), 0u);
  EXPECT_EQ(TCXlat(2591999, 1, 2), 0u);
  EXPECT_EQ(TCXlat(2589407, 1, 4), 0u);
  EXPECT_EQ(TCXlat(2159999, 1, 8), 0u);
  EXPECT_EQ(TCXlat(2071527, 1, 128), 0u);
  EXPECT_EQ(TCXlat(2071526, 1, 128), 2071527u);
}

TEST(Timecode, WrapsManyDaysWithoutOverflow) {
  EXPECT_EQ(TCXlat(0xFFFFFFFEu, 0xFFFFFFFFu, 8), static_cast<std::uint32_t>(8589934589ull % 2160000));
}

TEST(Timecode, UnknownRateDoesNotWrap) {
  EXPECT_EQ(TCXlat(5000000, 1, 0), 5000001u);
  EXPECT_EQ(TCXlat(5000000, 1, 3), 5000001u);
}

}  // namespace

}  // namespace fmp4
