#include "base/exact_time.h"

#include <gtest/gtest.h>

namespace fmp4 {

TEST(FrameRate, DurationsInFramesAreExactWhereFloatingPointIsNot) {
  EXPECT_EQ(framesOf(30030, 30000, {30000, 1001}), 30u);
  EXPECT_EQ(framesOf(30029, 30000, {30000, 1001}), 29u);
  EXPECT_EQ(framesOf(60060, 60000, {60000, 1001}), 60u);
}

TEST(FrameRate, CountsADayOfTicksToTheFrame) {
  // 2,589,408 frames of 1001/30000 s: 24 hours less 19.2 ms.
  EXPECT_EQ(framesOf(2589408ull * 1001, 30000, {30000, 1001}), 2589408u);
  EXPECT_EQ(framesOf(5178816ull * 1001, 60000, {60000, 1001}), 5178816u);
}

TEST(FrameRate, AnUnknownTimescaleGivesNoFrames) {
  EXPECT_EQ(framesOf(1000, 0, {25, 1}), 0u);
  EXPECT_EQ(framesOf(1000, 1000, {0, 1}), 0u);
}

TEST(FrameRate, ProductsBeyond64BitsStayExact) {
  EXPECT_EQ(scaleExactly(~0ull, 1000, 1000), ~0ull);
  EXPECT_EQ(scaleExactly(~0ull, 2, 1), ~0ull) << "saturated";
}

TEST(FrameRate, SumsSaturate) {
  EXPECT_EQ(addSaturated(~0ull - 1, 1), ~0ull);
  EXPECT_EQ(addSaturated(~0ull, 5), ~0ull);
  EXPECT_EQ(saturate<std::uint32_t>(1ull << 40), 0xFFFFFFFFu);
  EXPECT_EQ(saturate<std::uint32_t>(7), 7u);
}

}  // namespace fmp4
