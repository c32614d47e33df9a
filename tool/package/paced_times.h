// Converts times of a source into times of its recording, whose pace the video sets.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include "tool/package/package_plan.h"

namespace fmp4 {

// A recording's frames follow each other evenly from 0 on. Audio and captions of the source keep their
// distance from the video; when the source's video pauses, the pause is removed from them too.
class PacedTimes {
 public:
  // Looks at the first frames to be recorded: samples of `video` from plan.first on.
  PacedTimes(const SourceTrack& video, const PackagePlan& plan);

  // Adds the next recorded frame.
  void add(const SourceSample& frame);

  // When the recording plays what the source plays at `seconds`; negative before the first frame. Nothing
  // during a pause of the video.
  std::optional<double> recorded(double seconds) const;

  // The recorded frame with the nearest decode time, negative before the first; during a pause, the frame
  // after the last one added.
  std::int64_t frameOf(double seconds) const;

  // When the recording displays its first frame, and when the last frame added ends, in seconds.
  double firstFrame() const { return firstFrame_; }
  double end() const { return static_cast<double>(frames_) * frameSeconds_ + firstFrame_; }
  double frameSeconds() const { return frameSeconds_; }

 private:
  const EditList& edits_;
  std::uint32_t timescale_;  // ticks a second
  double frameSeconds_;
  double firstFrame_ = 0;
  std::uint64_t frames_ = 0;

  std::uint64_t decodeTime_ = 0;  // of the previous frame, ticks
  double shift_ = 0;              // seconds that the recording is earlier than the source, from `from_` on
  double from_ = -std::numeric_limits<double>::infinity();
  double previousShift_ = 0;
};

}  // namespace fmp4
