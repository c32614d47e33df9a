// The tree of one movie fragment, read apart from the rest of its file.
#pragma once

#include <cstdint>

#include "mp4box/box.h"

namespace fmp4 {

// Reads the box at `position` of a file of `fileSize` bytes as the only child of a root of its own, through
// `stream`, which has the file's offsets. The result depends on the box alone, not on what was read before:
// its limits are those of a tree of this one box. Null if no box can be read there; throws std::bad_alloc if
// memory is short.
Mp4BoxPtr Mp4ReadFragmentTree(Mp4Stream& stream, std::uint64_t position, std::uint64_t fileSize);

}  // namespace fmp4
