#include "streaming/index/fragment_counter.h"

#include <algorithm>

#include "mp4box/boxes/mfhd.h"
#include "mp4box/field_reader.h"
#include "streaming/index/box_walk.h"
#include "streaming/index/run_bytes.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kMoof = Mp4FourCc("moof");
constexpr std::uint32_t kMfhd = Mp4FourCc("mfhd");
constexpr std::uint32_t kTraf = Mp4FourCc("traf");
constexpr std::uint32_t kTfhd = Mp4FourCc("tfhd");
constexpr std::uint32_t kTfdt = Mp4FourCc("tfdt");
constexpr std::uint32_t kTrun = Mp4FourCc("trun");

template <class Payload>
Payload read(std::span<const std::uint8_t> bytes) {
  Payload payload;
  Mp4FieldReader reader(bytes);
  payload.fields(reader);
  return payload;
}

}  // namespace

FragmentCounter::FragmentCounter(const std::array<IndexedTrack, kTrackRoles>& tracks, FrameRate frameRate)
    : frameRate_(frameRate) {
  for (unsigned role = 0; role < kTrackRoles; ++role) {
    if (tracks[role].present()) sought_.push_back({tracks[role], role});
  }
}

std::size_t FragmentCounter::addAudio(const IndexedTrack& track, const AudioClock& start) {
  const std::size_t number = counts_.audio.size();
  sought_.push_back({track, kTrackRoles, number, start});
  counts_.audio.emplace_back();
  audio_.emplace_back();
  return number;
}

void FragmentCounter::start() {
  amounts_ = {};
  std::fill(audio_.begin(), audio_.end(), AudioCount{});
  counts_.hasHeader = false;
  counts_.sequenceNumber = 0;
  counts_.largestVideoSample = 0;
  for (Sought& sought : sought_) sought.found = false;
}

template <class Run>
void FragmentCounter::add(const Sought& sought, const Run& run, const SampleDefaults& defaults) {
  switch (sought.role) {
    case kVideoTrack:
      amounts_[sought.role] += run.sampleCount;
      counts_.largestVideoSample = std::max(counts_.largestVideoSample, largestSampleOf(run, defaults));
      return;
    case kAudioTrack:
      amounts_[sought.role] =
          addSaturated(amounts_[sought.role], durationOfSamples(run, run.sampleCount, defaults));
      return;
    case kCc608Track:
    case kCc708Track:
      amounts_[sought.role] = addSaturated(
          amounts_[sought.role], captionFramesOf(run, defaults, sought.track.timescale, frameRate_));
      return;
    default:
      break;
  }
  AudioCount& count = audio_[sought.audio];
  if (!run.hasDuration()) return count.add(sought.clock, defaults.duration, run.sampleCount);
  for (std::uint32_t i = 0; i < run.sampleCount; ++i) count.add(sought.clock, run.duration(i));
}

const FragmentCounts& FragmentCounter::result() {
  for (unsigned role = 0; role < kTrackRoles; ++role) {
    counts_.amounts[role] = saturate<std::uint32_t>(amounts_[role]);
  }
  for (std::size_t i = 0; i < audio_.size(); ++i) counts_.audio[i] = audio_[i].amount();
  return counts_;
}

const FragmentCounts& FragmentCounter::count(const Mp4Box* moof) {
  start();
  for (const Mp4Box* child = moof->first; child; child = child->next) {
    if (child->type != kMfhd) continue;
    const auto* header = Mp4PayloadOf<mp4::MovieFragmentHeaderBox>(child);
    counts_.hasHeader = header != nullptr;
    if (header) counts_.sequenceNumber = header->sequenceNumber;
    break;
  }
  for (const Sought& sought : sought_) {
    const Mp4Box* traf = findTrackFragment(moof, sought.track.trackId);
    if (!traf) continue;
    const SampleDefaults defaults(trackFragmentHeader(traf, sought.track.trackId), sought.track.trex);
    for (const Mp4Box* child = traf->first; child; child = child->next) {
      if (const auto* run = trackRun(child)) add(sought, *run, defaults);
    }
  }
  return result();
}

// Counts over the bytes of one fragment. Its functions return false for a fragment that is not regular.
class FragmentCounter::Walk {
 public:
  explicit Walk(FragmentCounter& counter) : counter_(counter) {}

  bool fragment(std::span<const std::uint8_t> moof) {
    BoxWalk top(moof);
    if (top.next() != BoxWalk::Step::Box || top.type() != kMoof || top.payload().size() + 8 != moof.size())
      return false;
    BoxWalk children(content(top));
    BoxWalk::Step step;
    while ((step = children.next()) == BoxWalk::Step::Box) {
      if (!countBox() || !(children.type() == kTraf ? trackFragment(content(children)) : otherBox(children)))
        return false;
      if (children.type() == kMfhd && !counter_.counts_.hasHeader) {
        counter_.counts_.hasHeader = true;
        counter_.counts_.sequenceNumber =
            read<mp4::MovieFragmentHeaderBox>(children.payload()).sequenceNumber;
      }
    }
    return step == BoxWalk::Step::End;
  }

 private:
  // The children of a container. One with room for a single empty box only has none.
  static std::span<const std::uint8_t> content(const BoxWalk& container) {
    return container.payload().size() > 8 ? container.payload() : std::span<const std::uint8_t>{};
  }

  // A tree of more boxes may reach its limit.
  bool countBox() {
    constexpr std::uint32_t kMaxBoxes = 100'000;
    return ++boxes_ <= kMaxBoxes;
  }

  // Whether a box between those that are counted changes nothing: one without children that is always read.
  static bool otherBox(const BoxWalk& box) {
    if (box.type() == kMfhd || box.type() == kTfhd || box.type() == kTfdt) return true;
    const Mp4BoxReader reader = Mp4FindBoxType(box.type()).reader;
    return reader == Mp4ReadLeaf || reader == Mp4ReadUnknown || reader == Mp4ReadMediaData;
  }

  bool trackFragment(std::span<const std::uint8_t> traf) {
    std::span<const std::uint8_t> header;
    std::uint32_t headers = 0;
    bool headerLast = false;
    BoxWalk children(traf);
    BoxWalk::Step step;
    while ((step = children.next()) == BoxWalk::Step::Box) {
      const bool isRun = children.type() == kTrun;
      if (!countBox() || (!isRun && !otherBox(children))) return false;
      headerLast = children.type() == kTfhd;
      if (!headerLast) continue;
      header = children.payload();
      ++headers;
    }
    if (step != BoxWalk::Step::End || headers > 1) return false;
    if (headers == 1) countRuns(read<mp4::TrackFragmentHeaderBox>(header), headerLast, traf);
    return true;
  }

  // Counts the runs of a track fragment for the tracks that it belongs to (findTrackFragment).
  void countRuns(const mp4::TrackFragmentHeaderBox& header, bool headerLast,
                 std::span<const std::uint8_t> traf) {
    for (Sought& sought : counter_.sought_) {
      if (sought.found || !(headerLast || header.trackId == sought.track.trackId)) continue;
      sought.found = true;
      const SampleDefaults defaults(&header, sought.track.trex);
      BoxWalk children(traf);
      while (children.next() == BoxWalk::Step::Box) {
        if (children.type() == kTrun) counter_.add(sought, RunBytes(children.payload()), defaults);
      }
    }
  }

  FragmentCounter& counter_;
  std::uint32_t boxes_ = 0;
};

const FragmentCounts* FragmentCounter::countBytes(std::span<const std::uint8_t> moof) {
  start();
  return Walk(*this).fragment(moof) ? &result() : nullptr;
}

}  // namespace fmp4
