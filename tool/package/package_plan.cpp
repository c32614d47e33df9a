#include "tool/package/package_plan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>

#include "base/user_error.h"
#include "recording/segment_geometry.h"

namespace fmp4 {

namespace {

using Warn = std::function<void(const std::string&)>;

constexpr std::uint32_t kUsualInterval = 30;

// Where decoding has to start for the first frame that the edit list displays.
std::uint32_t firstNeeded(const SourceTrack& video, const Warn& warn) {
  std::size_t first = 0, hidden = 0;
  for (std::size_t i = 0; i < video.samples.size(); ++i) {
    if (video.samples[i].presentationTime() > video.edits.firstShown()) continue;
    if (video.samples[i].key) first = i;
  }
  for (std::size_t i = first; i < video.samples.size(); ++i)
    hidden += video.samples[i].presentationTime() < video.edits.firstShown();
  if (hidden != 0)
    warn("the source's edit list hides its first " + std::to_string(hidden) +
         " frames; the recording shows them, as those after them cannot be decoded without them");
  return static_cast<std::uint32_t>(first);
}

// Frames up to the last one that the edit list displays; at least 1.
std::size_t shownFrames(const SourceTrack& video) {
  std::size_t frames = video.samples.size();
  while (frames > 1 && video.samples[frames - 1].presentationTime() >= video.edits.shownEnd()) --frames;
  return frames;
}

void chooseFrames(const SourceTrack& video, const PackageOptions& options, PackagePlan& plan,
                  const Warn& warn) {
  const std::size_t total = video.samples.size();
  if (options.start >= total)
    throw UserError("the source has " + std::to_string(total) +
                    " frames, counted from 0; there is no frame " + std::to_string(options.start));
  plan.first = options.start == 0 ? firstNeeded(video, warn) : options.start;
  if (!video.samples[plan.first].key) {
    std::uint32_t key = plan.first;
    while (key > 0 && !video.samples[key].key) --key;
    throw UserError("frame " + std::to_string(options.start) +
                    " is not a key frame, without which the recording could not be decoded; --start " +
                    std::to_string(key) + " is the one before");
  }
  const std::size_t shown = shownFrames(video);
  const std::size_t left = (plan.first < shown ? shown : total) - plan.first;
  plan.count = static_cast<std::uint32_t>(std::min<std::size_t>(options.count.value_or(0xFFFFFFFFu), left));
}

SampleList::Part chosen(const SourceTrack& video, const PackagePlan& plan) {
  return video.samples.part(plan.first, plan.count);
}

// The frame duration of the source, up to rounding: a timescale may have no whole number of ticks for it, and
// containers that the source went through earlier may have rounded it to milliseconds.
struct FrameDuration {
  std::uint32_t nominal;   // ticks
  std::uint32_t rounding;  // ticks, less than half a frame

  explicit FrameDuration(const SourceTrack& video)
      : nominal(video.nominalDuration.value()),
        rounding(std::min(std::max(1u, video.timescale / 1000), nominal / 4)) {}

  bool isOf(const SourceSample& sample) const {
    const auto [shorter, longer] = std::minmax(sample.duration, nominal);
    return longer - shorter <= rounding;
  }
};

// Frames and their total duration.
struct Frames {
  std::uint64_t count = 0;
  std::uint64_t ticks = 0;

  void add(const SourceSample& sample) {
    ++count;
    ticks += sample.duration;
  }
};

// The frames that determine the rate: those of the most common duration, whose mean has no rounding error. If
// most frames have another duration, the mean of all keeps the video in step with the audio.
Frames framesForRate(const SourceTrack& video, const FrameDuration& duration) {
  Frames nominal, all;
  for (const SourceSample sample : video.samples) {
    all.add(sample);
    if (duration.isOf(sample)) nominal.add(sample);
  }
  return nominal.count * 2 > all.count ? nominal : all;
}

// The frames of a recording all have the same duration.
void chooseRate(const SourceTrack& video, PackagePlan& plan, const Warn& warn) {
  const FrameDuration duration(video);
  const Frames frames = framesForRate(video, duration);
  if (frames.ticks == 0 || video.timescale == 0)
    throw UserError("the source does not say how long its frames last");
  std::uint64_t rate = video.timescale * frames.count;
  std::uint64_t scale = frames.ticks;
  const std::uint64_t divisor = std::gcd(rate, scale);
  rate /= divisor;
  scale /= divisor;
  // Beyond 32 bits a thousandth of a frame is fine enough.
  if (std::max(rate, scale) > std::numeric_limits<std::uint32_t>::max()) {
    rate = static_cast<std::uint64_t>(
        std::llround(static_cast<double>(rate) / static_cast<double>(scale) * 1000));
    scale = 1000;
  }
  if (rate == 0 || rate > std::numeric_limits<std::uint32_t>::max())
    throw UserError("the source has a frame rate that cannot be recorded");
  plan.rate = static_cast<std::uint32_t>(rate);
  plan.scale = static_cast<std::uint32_t>(scale);
  const auto allButLast = video.samples.part(0, video.samples.size() - 1);
  if (!std::all_of(allButLast.begin(), allButLast.end(),
                   [&](const SourceSample& sample) { return duration.isOf(sample); }))
    warn("the source's frames vary in duration; in the recording they all last " +
         std::to_string(plan.scale) + "/" + std::to_string(plan.rate) + " s");
}

struct KeyFrames {
  std::uint32_t distance = 0;  // the most common one, in frames; 0 when there is only one key frame
  bool even = true;            // whether it is the only one
};

KeyFrames keyFramesOf(const SampleList::Part& frames) {
  std::map<std::size_t, std::size_t> counts;
  std::size_t last = 0;
  for (std::size_t i = 1; i < frames.size(); ++i) {
    if (!frames[i].key) continue;
    ++counts[i - last];
    last = i;
  }
  if (counts.empty()) return {};
  const auto common = std::max_element(counts.begin(), counts.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
  return {static_cast<std::uint32_t>(common->first), counts.size() == 1};
}

bool givesSegments(std::uint32_t interval) {
  return geometryOfInterval(interval).fragmentsPerSegment != 0;
}

// The largest divisor of an interval that can be divided into segments.
std::uint32_t usablePart(std::uint32_t interval) {
  for (std::uint32_t part = kUsualInterval; part > 1; --part)
    if (interval % part == 0) return part;
  return kUsualInterval;
}

// Says how many segments will not begin with a key frame; empty when all will.
std::string segmentsWithoutKey(const SampleList::Part& frames, std::uint32_t interval) {
  const SegmentGeometry geometry = geometryOfInterval(interval);
  const std::size_t length = std::size_t{geometry.framesPerFragment} * geometry.fragmentsPerSegment;
  std::size_t segments = 0, without = 0;
  for (std::size_t i = 0; i < frames.size(); i += length, ++segments) without += frames[i].key ? 0 : 1;
  if (without == 0) return "";
  return "; " + std::to_string(without) + " of " + std::to_string(segments) +
         " segments will not begin with a key frame, where players expect one";
}

// Why segments may begin between key frames; empty when the interval is that of the source.
std::string unfitInterval(const KeyFrames& keys, const PackageOptions& options, std::uint32_t interval) {
  const std::string frames = " frames";
  if (keys.distance == 0) return "";
  if (options.interval && interval != keys.distance)
    return "--gop " + std::to_string(interval) + " is not the source's key-frame interval of " +
           std::to_string(keys.distance) + frames;
  if (interval != keys.distance)
    return "key frames " + std::to_string(keys.distance) +
           " frames apart cannot be cut into segments; they are cut for one every " +
           std::to_string(interval) + frames;
  if (keys.even) return "";
  return "the source's key frames are not evenly spaced; segments are cut for one every " +
         std::to_string(interval) + frames + " (--gop N overrides that)";
}

void chooseInterval(const SourceTrack& video, const PackageOptions& options, PackagePlan& plan,
                    const Warn& warn) {
  const SampleList::Part frames = chosen(video, plan);
  const KeyFrames keys = keyFramesOf(frames);
  plan.interval = options.interval.value_or(std::max(keys.distance, 1u));
  if (!options.interval && !givesSegments(plan.interval)) plan.interval = usablePart(keys.distance);
  if (!givesSegments(plan.interval)) {
    warn("an interval of " + std::to_string(plan.interval) +
         " frames cannot be cut into segments: some players will refuse the recording");
  } else if (const std::string why = unfitInterval(keys, options, plan.interval); !why.empty()) {
    warn(why + segmentsWithoutKey(frames, plan.interval));
  }
}

}  // namespace

PackagePlan PackagePlan::asRead(const SourceTrack& video) {
  PackagePlan plan;
  plan.rate = video.timescale;
  plan.scale = video.nominalDuration.value();
  if (plan.rate == 0 || plan.scale == 0 || video.samples.empty())
    throw UserError("the source does not say how long its frames last");
  plan.count = static_cast<std::uint32_t>(video.samples.size());
  plan.chooseOffsets(video);
  return plan;
}

void PackagePlan::chooseOffsets(const SourceTrack& video) {
  leastOffset = 0;
  for (const SourceSample sample : chosen(video, *this))
    leastOffset = std::min<std::int64_t>(leastOffset, sample.compositionOffset);
  frameTicks = static_cast<double>(video.timescale) / framesPerSecond();
}

std::int32_t PackagePlan::compositionOffset(const SourceSample& frame) const {
  const double offset = std::round(static_cast<double>(frame.compositionOffset - leastOffset) / frameTicks);
  return static_cast<std::int32_t>(std::clamp(offset, -2147483648.0, 2147483647.0));
}

PackagePlan planPackage(const SourceTrack& video, const PackageOptions& options, const Warn& warn) {
  PackagePlan plan;
  chooseFrames(video, options, plan, warn);
  chooseRate(video, plan, warn);
  chooseInterval(video, options, plan, warn);
  plan.chooseOffsets(video);
  return plan;
}

}  // namespace fmp4
