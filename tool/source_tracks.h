// From a tree of boxes to the tracks of a file and their samples.
#pragma once

#include <vector>

#include "box.h"
#include "source_file.h"

// The tracks of the movie box below `root`, with the samples of their tables and of the file's fragments.
// Throws ToolError when tables contradict each other or `fileSize`.
std::vector<SourceTrack> readTracks(Mp4Box* root, std::uint64_t fileSize);
