// The presentation times of an audio track's access units, in PCM frames.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "streaming/index/audio_clock.h"
#include "streaming/index/fragment_index.h"

namespace fmp4 {

// An access unit of a track.
struct AudioUnit {
  std::uint32_t fragmentIndex = 0;
  std::uint32_t trunIndex = 0;
  std::uint32_t sampleIndex = 0;
  std::uint64_t number = 0;  // index in the track, from 0
  AudioClock clock;          // clock at the start of the access unit
};

// The start of every access unit of one track, from the clock at the start of some fragments and the counts
// of the others.
class AudioTimeline {
 public:
  // `audio`: the number of the track in the index, which countAudio gave. Only fragments that may contain a
  // gap are read again. The timeline ends early if the track claims more access units than the file has
  // bytes. `start`: the clock before the first access unit.
  AudioTimeline(FragmentIndex& index, const IndexedTrack& track, std::size_t audio, const AudioClock& start);

  // The last access unit that starts at or before `position`; nothing if the track has none.
  [[nodiscard]] std::optional<AudioUnit> find(FragmentIndex& index, std::uint64_t position) const;
  // The access unit with this number; nothing past the end of the track.
  [[nodiscard]] std::optional<AudioUnit> at(FragmentIndex& index, std::uint64_t number) const;
  // Sum of the stated durations of the track, PCM frames.
  std::uint64_t length() const { return length_; }
  // Number of access units in the track.
  std::uint64_t units() const { return units_; }

 private:
  // The start of the fragment of a rank in the index.
  struct FragmentStart {
    std::size_t rank = 0;
    std::uint64_t number = 0;  // number of its first access unit
    AudioClock clock;
  };

  // The track's part of a fragment; without runs if it cannot be read.
  struct Runs {
    std::shared_ptr<const LoadedFragment> loaded;
    TrackFragment part;
  };

  // Passes a fragment, and adds its stated duration to `ticks`. Returns whether the counts were sufficient.
  bool pass(FragmentIndex& index, FragmentStart& at, std::uint64_t& ticks) const;
  // Passes the access units of a fragment one by one. Returns their stated duration.
  std::uint64_t passUnits(FragmentIndex& index, FragmentStart& at) const;
  Runs load(FragmentIndex& index, std::size_t rank) const;
  // The last access unit before the first one for which `stop(number, clock)` is true, and its fragment; none
  // if that is the first of the track.
  template <class Stop>
  std::optional<AudioUnit> lastBefore(FragmentIndex& index, Stop stop) const;
  template <class Stop>
  std::optional<FragmentStart> lastFragmentBefore(FragmentIndex& index, Stop stop) const;

  IndexedTrack track_;
  std::size_t audio_;
  std::vector<FragmentStart> starts_;  // at intervals, and after each fragment that may contain a gap
  std::size_t end_ = 0;                // rank after the last fragment of the timeline
  std::uint64_t length_ = 0;
  std::uint64_t units_ = 0;
};

}  // namespace fmp4
