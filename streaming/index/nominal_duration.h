// The duration that the samples of a track nominally have.
#pragma once

#include <cstdint>
#include <map>

#include "streaming/index/track_fragment.h"

// The default duration of the track where it has one; else the duration that most samples have in the first
// fragments that carry the track, 64 at most. One sample alone does not tell: muxers lengthen the first one
// of a live recording until the sound begins.
//
// Fragments are given in file order until the duration is settled.
class NominalDuration {
 public:
  // `trackDefault`: the default_sample_duration of the track's `trex`, 0 for none.
  explicit NominalDuration(std::uint32_t trackDefault = 0) : trackDefault_(trackDefault) {}

  // Adds the track's part of a fragment; one without samples adds nothing.
  void addFragment(const TrackFragment& fragment, const SampleDefaults& defaults);

  // The same sample by sample: `count` samples of `duration` ticks each, then the fragment's end. A duration
  // of 0 says nothing.
  void addSamples(std::uint32_t duration, std::uint64_t count = 1);
  void endFragment();

  // Whether further fragments change nothing.
  bool settled() const;
  // In ticks of the track; of durations that are equally common the smallest; 0 when nothing tells.
  std::uint32_t value() const;

 private:
  std::uint32_t trackDefault_;
  std::map<std::uint32_t, std::uint64_t> samplesOf_;  // by duration
  std::uint64_t samples_ = 0;                         // counted so far
  std::uint64_t endedAt_ = 0;                         // samples_ at the end of the last fragment
  std::uint32_t fragments_ = 0;                       // that carry the track
  bool carried_ = false;                              // whether the fragment that has begun does
};
