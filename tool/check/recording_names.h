// The recordings that the names on a command line stand for.
#pragma once

#include <string>
#include <vector>

namespace fmp4 {

// Each name that is not a folder stands for the file that it leads to, whether that exists or not; a folder
// stands for its recordings, each by one file. Throws UserError when a folder has none or cannot be read.
std::vector<std::string> recordingNames(const std::vector<std::string>& names);

// Whether `names` stand for a list of recordings: for more than one, or for those of a folder.
bool nameSeveral(const std::vector<std::string>& names);

}  // namespace fmp4
