// The tree of one movie fragment, read apart from the rest of its file.
#pragma once

#include <cstdint>
#include <memory>

#include "mp4box/tree.h"

namespace fmp4 {

// Reads the box at `position` of a file of `fileSize` bytes as the only child of the root of `tree`, through
// `stream`, which has the file's offsets. The result depends on the box alone, not on what was read before:
// its limits are those of a tree of this one box. `tree` is null after a failure. Throws std::bad_alloc if
// memory is short.
[[nodiscard]] Result Mp4ReadFragmentTree(Mp4Stream& stream, std::uint64_t position, std::uint64_t fileSize,
                                         std::unique_ptr<Mp4Tree>& tree);

}  // namespace fmp4
