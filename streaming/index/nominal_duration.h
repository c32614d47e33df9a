// The nominal sample duration of a track.
#pragma once

#include <cstdint>
#include <map>

#include "streaming/index/track_fragment.h"

namespace fmp4 {

// The default duration of the track if it has one; otherwise the most common sample duration in the first
// fragments with the track, 64 at most. A single sample is not reliable: muxers lengthen the first one of a
// live recording until the audio starts.
//
// Add fragments in file order until converged().
class NominalDuration {
 public:
  // `trackDefault`: the default_sample_duration from the track's `trex`, 0 if none.
  explicit NominalDuration(std::uint32_t trackDefault = 0) : trackDefault_(trackDefault) {}

  // Adds the track's part of a fragment; has no effect if that contains no samples.
  void addFragment(const TrackFragment& fragment, const SampleDefaults& defaults);

  // The same in steps: add `count` samples of `duration` ticks each, then end the fragment. A duration of 0
  // is ignored.
  void addSamples(std::uint32_t duration, std::uint64_t count = 1);
  void endFragment();

  // Whether further fragments cannot change the result.
  bool converged() const;
  // Ticks of the track. The smallest of several equally common durations; 0 if unknown.
  std::uint32_t value() const;

 private:
  std::uint32_t trackDefault_;
  std::map<std::uint32_t, std::uint64_t> samplesOf_;  // sample count by duration
  std::uint64_t samples_ = 0;                         // number of samples counted so far
  std::uint64_t endedAt_ = 0;                         // samples_ at the end of the last fragment
  std::uint32_t fragments_ = 0;                       // number of fragments with the track
  bool carried_ = false;                              // whether the current fragment contains the track
};

}  // namespace fmp4
