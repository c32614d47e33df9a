// The tracks of a file, with what their samples add up to.
#pragma once

#include <cstdint>
#include <vector>

#include "mp4box/top_level_reader.h"
#include "tool/source/sample_source.h"

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

}  // namespace fmp4
