// The presentation times of an audio track's access units, in PCM frames.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "streaming/index/fragment_index.h"

// Tracks the start of the next access unit, in PCM frames. Access units decode to a fixed number of PCM
// frames and follow each other without gaps. If the durations stated by the track get ahead of this by half
// an access unit or more there is a gap, and the next access unit starts where the stated durations place it.
// Smaller differences are rounding.
class AudioClock {
 public:
  AudioClock() = default;
  // `unitFrames`: PCM frames per decoded access unit.
  AudioClock(std::uint32_t timescale, std::uint32_t sampleRate, std::uint32_t unitFrames)
      : timescale_(timescale), sampleRate_(sampleRate), unitFrames_(unitFrames) {}

  // Start of the next access unit, PCM frames.
  std::uint64_t position() const { return position_; }
  // Advances past an access unit with a stated duration of `ticks`.
  void pass(std::uint32_t ticks);
  // Advances past `count` access units of the same duration.
  void pass(std::uint32_t ticks, std::uint32_t count);
  // Converts a stated duration to PCM frames.
  std::uint64_t frames(std::uint64_t ticks) const { return scaleExactly(ticks, sampleRate_, timescale_); }

 private:
  std::uint32_t timescale_ = 0;
  std::uint32_t sampleRate_ = 0;
  std::uint32_t unitFrames_ = 0;
  std::uint64_t ticks_ = 0;  // sum of the stated durations so far
  std::uint64_t position_ = 0;
};

// An access unit of a track.
struct AudioUnit {
  std::uint32_t fragmentIndex = 0;
  std::uint32_t trunIndex = 0;
  std::uint32_t sampleIndex = 0;
  std::uint64_t number = 0;  // index in the track, from 0
  AudioClock clock;          // clock at the start of the access unit
};

// The start of every access unit of one track, stored as the clock at the start of each fragment.
class AudioTimeline {
 public:
  // Walks the track's runs once. The timeline ends early if the track claims more access units than the file
  // has bytes. `start`: the clock before the first access unit.
  AudioTimeline(FragmentIndex& index, const IndexedTrack& track, const AudioClock& start);

  // Finds the last access unit that starts at or before `position`. Returns false if the track has none.
  bool find(FragmentIndex& index, std::uint64_t position, AudioUnit& unit) const;
  // Finds the access unit with this number. Returns false past the end of the track.
  bool at(FragmentIndex& index, std::uint64_t number, AudioUnit& unit) const;
  // Sum of the stated durations of the track, PCM frames.
  std::uint64_t length() const { return length_; }
  // Number of access units in the track.
  std::uint64_t units() const { return units_; }

 private:
  struct FragmentStart {
    std::uint32_t fragmentIndex;
    std::uint64_t number;  // number of its first access unit
    AudioClock clock;
  };

  // The last access unit of a fragment before the one for which `stop(unit)` is true; none if that is the
  // first.
  template <class Stop>
  std::optional<AudioUnit> lastBefore(FragmentIndex& index, const FragmentStart& from, Stop stop) const;

  IndexedTrack track_;
  std::vector<FragmentStart> fragments_;  // fragments with access units
  std::uint64_t length_ = 0;
  std::uint64_t units_ = 0;
};
