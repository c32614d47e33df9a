#include "streaming/index/fragment_counter.h"

#include <algorithm>

#include "mp4box/box_type.h"
#include "mp4box/boxes/mfhd.h"
#include "streaming/index/fragment_walk.h"

namespace fmp4 {

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
    if (child->type != box_type::kMfhd) continue;
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

// Counts what a walk over the bytes of one fragment meets.
class FragmentCounter::Visitor {
 public:
  explicit Visitor(FragmentCounter& counter) : counter_(counter) {}

  void header(std::span<const std::uint8_t> payload) {
    if (counter_.counts_.hasHeader) return;
    counter_.counts_.hasHeader = true;
    counter_.counts_.sequenceNumber = readPayload<mp4::MovieFragmentHeaderBox>(payload).sequenceNumber;
  }

  // Counts the runs for the tracks that the track fragment belongs to (findTrackFragment).
  void track(const TrackFragmentBytes& fragment) {
    for (Sought& sought : counter_.sought_) {
      if (sought.found || !(fragment.headerLast || fragment.header.trackId == sought.track.trackId)) continue;
      sought.found = true;
      const SampleDefaults defaults(&fragment.header, sought.track.trex);
      fragment.forEachRun([&](const RunBytes& run) { counter_.add(sought, run, defaults); });
    }
  }

 private:
  FragmentCounter& counter_;
};

const FragmentCounts* FragmentCounter::countBytes(std::span<const std::uint8_t> moof) {
  start();
  Visitor visitor(*this);
  return FragmentWalk(visitor).walk(moof) ? &result() : nullptr;
}

}  // namespace fmp4
