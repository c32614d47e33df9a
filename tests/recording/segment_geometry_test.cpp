#include "recording/segment_geometry.h"

#include <gtest/gtest.h>

namespace fmp4 {

namespace {

TEST(SegmentGeometry, FollowsFromTheKeyFrameInterval) {
  struct {
    std::uint32_t interval, frames, fragments;
  } const cases[] = {{0, 30, 10},  {1, 30, 10}, {2, 2, 10},   {30, 30, 10}, {31, 1, 0},    {37, 1, 0},
                     {48, 24, 10}, {90, 30, 9}, {100, 25, 8}, {210, 30, 7}, {300, 30, 10}, {330, 30, 0}};
  for (const auto& [interval, frames, fragments] : cases) {
    EXPECT_EQ(geometryOfInterval(interval).framesPerFragment, frames) << interval;
    EXPECT_EQ(geometryOfInterval(interval).fragmentsPerSegment, fragments) << interval;
  }
}

}  // namespace

}  // namespace fmp4
