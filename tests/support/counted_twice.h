// Counts every fragment of a file by its bytes and by its tree.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "base/bytes.h"
#include "mp4box/fragment_tree.h"
#include "streaming/index/fragment_counter.h"

namespace fmp4 {

inline bool operator==(const AudioAmount& a, const AudioAmount& b) {
  return a.units == b.units && a.ticks == b.ticks && a.lead == b.lead;
}

// The first thousand places in the bytes that look like a "moof".
struct CountedTwice {
  std::uint32_t byBytes = 0;    // fragments that the bytes sufficed for
  std::uint32_t byTree = 0;     // those that need their tree
  std::uint32_t different = 0;  // those with different results

  explicit CountedTwice(std::span<const std::uint8_t> file) {
    constexpr std::uint32_t kMax = 1000;
    for (std::size_t at = 0; at + 8 <= file.size() && byBytes + byTree < kMax; ++at) {
      if (Mp4LoadU32(&file[at + 4]) == Mp4FourCc("moof")) count(file, at);
    }
  }

 private:
  void count(std::span<const std::uint8_t> file, std::size_t at) {
    // Durations and sizes of the movie, which the fragments' own replace.
    mp4::TrackExtendsBox trex;
    trex.defaultSampleDuration = 1001;
    trex.defaultSampleSize = 77;
    std::array<IndexedTrack, kTrackRoles> tracks;
    for (std::uint32_t role = 0; role < kTrackRoles; ++role) tracks[role] = {role + 1, 30000, &trex};
    FragmentCounter counter(tracks, {30000, 1001}), reference(tracks, {30000, 1001});
    for (FragmentCounter* each : {&counter, &reference}) {
      each->addAudio(tracks[kAudioTrack], AudioClock(30000, 48000, 1024));
      each->addAudio(tracks[kVideoTrack], AudioClock(48000, 44100, 1024));
    }
    const std::uint64_t size = std::min<std::uint64_t>(Mp4LoadU32(&file[at]), file.size() - at);
    const FragmentCounts* counts = counter.countBytes(file.subspan(at, static_cast<std::size_t>(size)));
    ++(counts ? byBytes : byTree);
    if (!counts) return;
    Mp4MemoryStream stream(&file[at], size, at);
    std::unique_ptr<Mp4Tree> tree;
    if (!Mp4ReadFragmentTree(stream, at, file.size(), tree).ok()) {
      ++different;
      return;
    }
    const FragmentCounts& expected = reference.count(tree->root()->first);
    const bool same =
        counts->hasHeader == expected.hasHeader && counts->sequenceNumber == expected.sequenceNumber &&
        counts->amounts == expected.amounts && counts->largestVideoSample == expected.largestVideoSample &&
        counts->audio == expected.audio;
    if (!same) ++different;
  }
};

}  // namespace fmp4
