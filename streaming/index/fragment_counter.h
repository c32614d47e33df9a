// Counts what a movie fragment contains of each track.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "mp4box/box.h"
#include "streaming/index/audio_clock.h"
#include "streaming/index/track_fragment.h"

namespace fmp4 {

// The tracks that the index covers; values are array indices.
enum TrackRole : unsigned { kVideoTrack, kAudioTrack, kCc608Track, kCc708Track, kTrackRoles };

// One track as described by the movie box.
struct IndexedTrack {
  std::uint32_t trackId = kNoTrack;
  std::uint32_t timescale = 0;                 // ticks per second
  const mp4::TrackExtendsBox* trex = nullptr;  // null: the file has no defaults, all count as 0

  bool present() const { return trackId != kNoTrack; }
};

// What one fragment contains.
struct FragmentCounts {
  bool hasHeader = false;
  std::uint32_t sequenceNumber = 0;
  std::array<std::uint32_t, kTrackRoles> amounts{};  // video samples, audio ticks, frames of captions
  std::uint32_t largestVideoSample = 0;              // bytes
  std::vector<AudioAmount> audio;                    // by the number from addAudio
};

class FragmentCounter {
 public:
  // `frameRate` converts caption durations to video frames.
  FragmentCounter(const std::array<IndexedTrack, kTrackRoles>& tracks, FrameRate frameRate);

  // Also counts the access units of an audio track, for a clock that starts like `start`. Returns the track's
  // number, from 0.
  std::size_t addAudio(const IndexedTrack& track, const AudioClock& start);

  // Counts the tree of a fragment. The result is valid until the next one.
  const FragmentCounts& count(const Mp4Box* moof);
  // Counts a fragment where its bytes lie, with the same result as its tree gives, but without allocating
  // anything. Null, with no result, for one that is not laid out regularly: one whose boxes do not fill their
  // parents exactly, or that contains boxes that writers do not put there. Only its tree tells what counts.
  const FragmentCounts* countBytes(std::span<const std::uint8_t> moof);

 private:
  // A track to look for in each fragment, and what is counted of it.
  struct Sought {
    IndexedTrack track;
    unsigned role = kTrackRoles;  // kTrackRoles: the access units of `audio`
    std::size_t audio = 0;
    AudioClock clock{};
    bool found = false;  // in the fragment being counted
  };
  class Visitor;

  void start();
  template <class Run>
  void add(const Sought& sought, const Run& run, const SampleDefaults& defaults);
  const FragmentCounts& result();

  FrameRate frameRate_;
  std::vector<Sought> sought_;
  std::array<std::uint64_t, kTrackRoles> amounts_{};
  std::vector<AudioCount> audio_;
  FragmentCounts counts_;
};

}  // namespace fmp4
