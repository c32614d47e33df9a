// Where each access unit of an audio track plays, in sample frames.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "streaming/index/fragment_index.h"

// The running place of the next access unit. Units decode to a fixed number of sample frames and follow on
// from each other; where the durations that the track states run ahead of that by half a unit or more there
// is a gap, and the next unit stands where the durations put it. Smaller differences are rounding.
class AudioClock {
 public:
  AudioClock() = default;
  // `unitFrames`: sample frames that a unit decodes to.
  AudioClock(std::uint32_t timescale, std::uint32_t sampleRate, std::uint32_t unitFrames)
      : timescale_(timescale), sampleRate_(sampleRate), unitFrames_(unitFrames) {}

  // The place of the next unit.
  std::uint64_t position() const { return position_; }
  // Passes a unit of `ticks` stated duration.
  void pass(std::uint32_t ticks);
  // Passes `count` units of the same duration.
  void pass(std::uint32_t ticks, std::uint32_t count);
  // A stated duration in sample frames.
  std::uint64_t frames(std::uint64_t ticks) const { return scaleExactly(ticks, sampleRate_, timescale_); }

 private:
  std::uint32_t timescale_ = 0;
  std::uint32_t sampleRate_ = 0;
  std::uint32_t unitFrames_ = 0;
  std::uint64_t ticks_ = 0;  // stated durations so far, added up
  std::uint64_t position_ = 0;
};

// An access unit of a track.
struct AudioUnit {
  std::uint32_t fragmentIndex = 0;
  std::uint32_t trunIndex = 0;
  std::uint32_t sampleIndex = 0;
  std::uint64_t number = 0;  // counted from the track's first
  AudioClock clock;          // at the unit
};

// The places of all units of one track, kept as the clock at the start of each fragment.
class AudioTimeline {
 public:
  // Goes once over the track's runs; a track that claims more units than its file has bytes ends there.
  // `start`: the clock ahead of the first unit.
  AudioTimeline(FragmentIndex& index, const IndexedTrack& track, const AudioClock& start);

  // The last unit that stands at or before `position`. Returns false for a track without units.
  bool find(FragmentIndex& index, std::uint64_t position, AudioUnit& unit) const;
  // The unit of a number. Returns false behind the track's last.
  bool at(FragmentIndex& index, std::uint64_t number, AudioUnit& unit) const;
  // Stated durations of the whole track, in sample frames.
  std::uint64_t length() const { return length_; }
  // Units of the whole track.
  std::uint64_t units() const { return units_; }

 private:
  struct FragmentStart {
    std::uint32_t fragmentIndex;
    std::uint64_t number;  // of its first unit
    AudioClock clock;
  };

  // The last unit of a fragment ahead of the one that `stop(unit)` is true for; none when it is the first.
  template <class Stop>
  std::optional<AudioUnit> lastBefore(FragmentIndex& index, const FragmentStart& from, Stop stop) const;

  IndexedTrack track_;
  std::vector<FragmentStart> fragments_;  // those that carry units
  std::uint64_t length_ = 0;
  std::uint64_t units_ = 0;
};
