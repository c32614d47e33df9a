// From the times of a source to those of its recording, in which the pictures set the pace.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include "tool/package/package_plan.h"

// A recording's frames follow each other evenly from 0 on. Sound and captions of the source keep their
// distance from the pictures; where the source has no pictures for a while, that while is left out of them
// too.
class PictureTimes {
 public:
  // Looks at the first frames that are to be recorded: samples of `video` from plan.first on.
  PictureTimes(const SourceTrack& video, const PackagePlan& plan);

  // Takes in the next frame that is recorded.
  void add(const SourceSample& frame);

  // When what the source plays at `seconds` plays in the recording, below zero if before its first frame.
  // Nothing where it falls into a while without pictures.
  std::optional<double> recorded(double seconds) const;

  // The recorded frame whose time of decoding is nearest to that, below zero if before the first; after the
  // last one taken in where it falls into such a while.
  std::int64_t frameOf(double seconds) const;

  // When the recording shows its first picture, and when the last of the frames taken in ends, in seconds.
  double firstPicture() const { return firstPicture_; }
  double end() const { return static_cast<double>(frames_) * frameSeconds_ + firstPicture_; }
  double frameSeconds() const { return frameSeconds_; }

 private:
  const EditList& edits_;
  std::uint32_t timescale_;  // ticks a second
  double frameSeconds_;
  double firstPicture_ = 0;
  std::uint64_t frames_ = 0;

  std::uint64_t decodeTime_ = 0;  // of the frame before, ticks
  double shift_ = 0;              // seconds that the recording is earlier than the source, from `from_` on
  double from_ = -std::numeric_limits<double>::infinity();
  double previousShift_ = 0;
};
