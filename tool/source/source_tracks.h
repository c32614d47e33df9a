// Converts a tree of boxes into the tracks of a file and their samples.
#pragma once

#include <vector>

#include "mp4box/box.h"
#include "mp4box/stream.h"
#include "tool/source/sample_source.h"

namespace fmp4 {

// The tracks of the first movie box of a file, with the samples of their tables and of the file's fragments.
// Throws UserError when there is no movie box, or tables contradict each other or the size of the file. Where
// the host fails to read, the file ends: ask the stream.
std::vector<SourceTrack> readTracks(Mp4Stream& stream);

// The same in steps, for a file that is not complete yet: the tracks of a movie box, then the samples of each
// movie fragment, with data at or before `end`.
std::vector<SourceTrack> readMovie(Mp4Box* moov, std::uint64_t end);
void readFragment(Mp4Box* moov, Mp4Box* moof, std::uint64_t end, std::vector<SourceTrack>& tracks);

// Throws a UserError that says what is wrong with a source: "its samples have no chunks".
[[noreturn]] void damagedSource(const char* what);

}  // namespace fmp4
