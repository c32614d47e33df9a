// What replacing a file leaves beside it when the process ends meanwhile.
#pragma once

#include <string>
#include <vector>

namespace fmp4::os {

// The temporary files with which processes that have ended meant to replace the file `path` (UTF-8), whether
// it exists or not, sorted by name. One that is being written belongs to a process that still runs, and is
// left out. Empty when the folder cannot be read.
std::vector<std::string> unfinishedReplacements(const std::string& path);

}  // namespace fmp4::os
