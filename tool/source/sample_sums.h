// What the samples of a movie's tracks add up to.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/exact_time.h"
#include "mp4box/box.h"
#include "mp4box/box_type.h"
#include "mp4box/boxes/tfhd.h"
#include "streaming/index/fragment_walk.h"
#include "streaming/index/track_defaults.h"
#include "streaming/index/track_fragment.h"
#include "tool/source/sample_source.h"

namespace fmp4 {

// Adds up the samples of each track, fragment by fragment.
class SampleSums {
 public:
  struct Sum {
    std::uint64_t samples = 0;
    std::uint64_t bytes = 0;
    std::uint64_t ticks = 0;
  };

  // Starts with the samples of the movie box, which outlives this.
  SampleSums(Mp4Box* moov, const std::vector<SourceTrack>& tracks) {
    const TrackDefaults defaults = readTrackDefaults(moov);
    for (const SourceTrack& track : tracks) {
      Sum sum;
      for (const SourceSample sample : track.samples) addSample(sum, sample);
      sums_.push_back(sum);
      keys_.push_back({track.trackId, defaultsOfTrack(defaults, track.trackId)});
    }
  }

  // Adds the fragment of these bytes. False, with nothing added, for one that is not laid out regularly,
  // which addTree is for.
  [[nodiscard]] bool addBytes(std::span<const std::uint8_t> moof) {
    before_ = sums_;
    const bool regular = FragmentWalk(*this).walk(moof);
    if (!regular) sums_.swap(before_);
    return regular;
  }
  void addTree(Mp4Box* moof) {
    for (Mp4Box* traf = moof->first; traf; traf = traf->next) {
      if (traf->type != box_type::kTraf) continue;
      const auto* header = Mp4PayloadOf<mp4::TrackFragmentHeaderBox>(Mp4BoxChild(traf, box_type::kTfhd));
      if (!header) continue;
      add(*header, [traf](const auto& each) {
        for (const Mp4Box* child = traf->first; child; child = child->next)
          if (const auto* run = trackRun(child)) each(*run);
      });
    }
  }

  // By the number of the track.
  const std::vector<Sum>& sums() const { return sums_; }

  // What FragmentWalk calls.
  void header(std::span<const std::uint8_t>) {}
  void track(const TrackFragmentBytes& fragment) {
    add(fragment.header, [&fragment](const auto& each) { fragment.forEachRun(each); });
  }

 private:
  struct Key {
    std::uint32_t trackId;
    const mp4::TrackExtendsBox* trex;
  };

  static void addSample(Sum& sum, const SourceSample& sample) {
    ++sum.samples;
    sum.bytes += sample.size;
    sum.ticks += sample.duration;
  }

  // Adds the runs that `forEachRun(each)` passes to `each` to the first track of the header's ID.
  template <class ForEachRun>
  void add(const mp4::TrackFragmentHeaderBox& header, ForEachRun forEachRun) {
    for (std::size_t i = 0; i < keys_.size(); ++i) {
      if (keys_[i].trackId != header.trackId) continue;
      const SampleDefaults defaults(&header, keys_[i].trex);
      forEachRun([&sum = sums_[i], &defaults](const auto& run) {
        sum.samples += run.sampleCount;
        sum.bytes = addSaturated(sum.bytes, sizeOfSamples(run, run.sampleCount, defaults));
        sum.ticks = addSaturated(sum.ticks, durationOfSamples(run, run.sampleCount, defaults));
      });
      return;
    }
  }

  std::vector<Key> keys_;  // by the number of the track
  std::vector<Sum> sums_;
  std::vector<Sum> before_;  // the sums before the last fragment
};

}  // namespace fmp4
