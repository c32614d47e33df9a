// The presentation times of audio access units, in PCM frames.
#pragma once

#include <cstdint>

#include "base/exact_time.h"

namespace fmp4 {

// What a fragment contains of an audio track, as far as an AudioClock needs it.
struct AudioAmount {
  static constexpr std::uint32_t kUnknown = 0xFFFFFFFFu;

  std::uint32_t units = 0;  // number of access units; kUnknown: more than this holds
  std::uint32_t ticks = 0;  // sum of their stated durations
  // At most how many PCM frames the stated durations get ahead of the decoded ones inside the fragment;
  // kUnknown: `ticks` does not hold the sum.
  std::uint32_t lead = 0;
};

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
  // Advances past the access units of a fragment. Returns false, without moving, if there may be a gap among
  // them, so that each has to be passed by itself.
  [[nodiscard]] bool pass(const AudioAmount& amount);
  // Converts a stated duration to PCM frames.
  std::uint64_t frames(std::uint64_t ticks) const { return scaleExactly(ticks, sampleRate_, timescale_); }

  // Whether an access unit of this stated duration gets ahead of its decoded duration.
  bool leads(std::uint32_t ticks) const {
    return std::uint64_t{ticks} * sampleRate_ > std::uint64_t{unitFrames_} * timescale_;
  }
  std::uint32_t unitFrames() const { return unitFrames_; }

 private:
  std::uint32_t timescale_ = 0;
  std::uint32_t sampleRate_ = 0;
  std::uint32_t unitFrames_ = 0;
  std::uint64_t ticks_ = 0;  // sum of the stated durations so far
  std::uint64_t position_ = 0;
};

// Adds up the access units of one fragment for a clock.
class AudioCount {
 public:
  // Adds `count` access units of the same stated duration.
  void add(const AudioClock& clock, std::uint32_t ticks, std::uint32_t count = 1);
  AudioAmount amount() const;

 private:
  std::uint64_t units_ = 0;
  std::uint64_t ticks_ = 0;
  std::uint64_t lead_ = 0;
};

}  // namespace fmp4
