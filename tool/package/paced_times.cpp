#include "tool/package/paced_times.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace fmp4 {

namespace {

// Frames whose times determine the shift between source and recording: enough to outvote odd ones.
constexpr std::size_t kVoters = 256;

// A longer wait for the next frame is a pause of the video, in seconds.
constexpr double kOutage = 0.5;

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

PacedTimes::PacedTimes(const SourceTrack& video, const PackagePlan& plan)
    : edits_(video.edits), timescale_(video.timescale), frameSeconds_(1 / plan.framesPerSecond()) {
  const std::size_t all = video.samples.size() - plan.first;
  const auto frames = video.samples.part(plan.first, std::min({all, kVoters, std::size_t{plan.count}}));
  std::vector<double> shifts;
  firstFrame_ = std::numeric_limits<double>::infinity();
  for (const SourceSample frame : frames) {
    if (!shifts.empty() && frame.decodeTime > decodeTime_ &&
        static_cast<double>(frame.decodeTime - decodeTime_) / timescale_ > frameSeconds_ + kOutage)
      break;
    decodeTime_ = frame.decodeTime;
    const double shown = static_cast<double>(shifts.size()) + plan.compositionOffset(frame);
    firstFrame_ = std::min(firstFrame_, shown * frameSeconds_);
    shifts.push_back(edits_.present(frame.presentationTime(), timescale_) - shown * frameSeconds_);
  }
  shift_ = previousShift_ = median(std::move(shifts));
}

void PacedTimes::add(const SourceSample& frame) {
  const bool follows = frames_++ != 0 && frame.decodeTime > decodeTime_;
  const double wait = follows ? static_cast<double>(frame.decodeTime - decodeTime_) / timescale_ : 0;
  decodeTime_ = frame.decodeTime;
  if (wait <= frameSeconds_ + kOutage) return;
  previousShift_ = shift_;
  shift_ += wait - frameSeconds_;
  from_ = edits_.present(frame.presentationTime(), timescale_);
}

std::optional<double> PacedTimes::recorded(double seconds) const {
  if (seconds >= from_) return seconds - shift_;
  const double before = seconds - previousShift_;
  return before < from_ - shift_ ? std::optional(before) : std::nullopt;
}

std::int64_t PacedTimes::frameOf(double seconds) const {
  constexpr double kMax = 1e15;  // the maximum that a double counts exactly
  const double frame = std::round(recorded(seconds).value_or(end()) / frameSeconds_);
  return static_cast<std::int64_t>(std::clamp(frame, -kMax, kMax));
}

}  // namespace fmp4
