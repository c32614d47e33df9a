#include "recording/segment_geometry.h"

#include <algorithm>

namespace fmp4 {

namespace {

constexpr std::uint32_t kMaxFragments = 10;

}  // namespace

SegmentGeometry geometryOfInterval(std::uint32_t interval) {
  if (interval <= 1) return {kMaxFramesPerFragment, kMaxFragments};
  if (interval <= kMaxFramesPerFragment) return {interval, kMaxFragments};
  // Dividing the interval by 2, 3, 4 and so on gives decreasing quotients; the first that divides it is
  // taken. 1 always does, so the search ends.
  std::uint32_t frames = kMaxFramesPerFragment;
  while (interval % frames != 0) --frames;
  const std::uint32_t divisor = interval / (frames + 1) + 1;  // the first with this quotient
  return {frames, kMaxFragments - kMaxFragments % divisor};
}

}  // namespace fmp4
