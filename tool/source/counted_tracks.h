// The tracks of a file, with what their samples add up to.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "mp4box/top_level_reader.h"
#include "tool/source/sample_source.h"
#include "tool/source/sample_sums.h"

namespace fmp4 {

struct CountedTrack {
  SourceTrack track;  // with the samples of the movie box alone

  // Of all samples, those in fragments included.
  std::uint64_t samples = 0;
  std::uint64_t bytes = 0;
  std::uint64_t ticks = 0;  // total duration, ticks of the track
};

// The tracks of the first movie box of a file, which has been read up to there. Reads the fragments, each
// once, and keeps nothing of them. Throws UserError when there is no movie box, or the counts contradict each
// other or the size of the file.
std::vector<CountedTrack> countTracks(Mp4TopLevelReader& file);

// Counts the tracks of a file in passing, from what another reader reads of it, and saves a pass over the
// file.
class TrackCounter {
 public:
  // `file` has been read up to its movie box, is not read on by others, and outlives this. Throws like
  // countTracks.
  explicit TrackCounter(Mp4TopLevelReader& file);

  // Takes bytes that have been read at an offset of the file. Those of boxes that have been taken do not
  // matter.
  void take(std::uint64_t offset, std::span<const std::uint8_t> bytes);

  // What countTracks gives. Reads the fragments itself unless every box of the file has been taken. Called
  // once.
  std::vector<CountedTrack> count();

 private:
  bool takeBox(std::span<const std::uint8_t> bytes);
  bool takeFragment(std::span<const std::uint8_t> bytes, std::uint64_t size);
  bool addMissed();

  Mp4TopLevelReader& file_;
  std::uint64_t size_;  // of the file
  std::uint64_t next_;  // file offset of the box to be taken next
  std::vector<SourceTrack> tracks_;
  SampleSums sums_;
  std::vector<Mp4Box> missed_;  // fragments that were not read whole
  bool lost_ = false;           // whether it takes more than the bytes to understand the file
};

}  // namespace fmp4
