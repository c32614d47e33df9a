#include "tool/host/group_lengths.h"

#include <map>

#include "base/codec_code.h"
#include "base/exact_time.h"
#include "base/text.h"
#include "tool/host/track_units.h"

namespace fmp4 {

namespace {

// Counts groups by their length.
class GroupCount {
 public:
  void add(bool key) {
    if (key && length_ > 0) ++counts_[length_];
    if (key) length_ = 0;
    if (key || length_ > 0) ++length_;  // frames before the first key frame are in no group
  }

  std::optional<GroupLengths> lengths() const {
    std::map<std::uint64_t, std::uint64_t> counts = counts_;
    if (counts.empty() && length_ > 0) counts[length_] = 1;
    if (counts.empty()) return std::nullopt;
    GroupLengths lengths{counts.begin()->first, counts.rbegin()->first};
    std::uint64_t most = 0;
    for (const auto& [length, count] : counts) {
      lengths.groups += count;
      if (count >= most) lengths.usual = length;
      most = std::max(most, count);
    }
    return lengths;
  }

 private:
  std::map<std::uint64_t, std::uint64_t> counts_;
  std::uint64_t length_ = 0;  // of the group that is being counted; 0: none
};

}  // namespace

std::optional<GroupLengths> groupLengths(const std::string& media) {
  TrackUnits video(media);
  if (!video.choose({kAvc1, kHvc1})) return std::nullopt;
  const std::uint32_t timescale = video.track()->timescale;
  GroupCount groups;
  std::uint64_t frames = 0, ticks = 0;
  bool more = true;
  while (frames < kExaminedFrames && ticks / kExaminedSeconds < std::max(timescale, 1u) &&
         (more = video.next())) {
    groups.add(video.sample().key);
    ticks = addSaturated(ticks, video.sample().duration);
    ++frames;
  }
  auto lengths = groups.lengths();
  if (!lengths) return lengths;
  lengths->seconds = timescale != 0 ? static_cast<double>(ticks) / timescale : 0;
  lengths->wholeFile = more ? !video.next() && !video.damaged() : !video.damaged();
  return lengths;
}

std::string groupLengthsText(const GroupLengths& lengths) {
  const std::string longest = std::to_string(lengths.longest) + (lengths.longest == 1 ? " frame" : " frames");
  std::string text = longest;
  if (lengths.shortest != lengths.longest)
    text = std::to_string(lengths.shortest) + " to " + longest + ", mostly " + std::to_string(lengths.usual);
  if (!lengths.wholeFile) text += " (of the first " + clockText(lengths.seconds) + ")";
  return text;
}

}  // namespace fmp4
