// The files that the names on a command line stand for.
#pragma once

#include <string>
#include <vector>

namespace fmp4 {

// Whether the name is that of a folder, or of a link to one.
bool isFolder(const std::string& name);

// Each name that is not a folder stands for itself, whether it exists or not. A folder stands for its MP4
// files and manifests, sorted by name, without those of its sub-folders; of a recording for one file, its
// video if it has any. Throws UserError when a folder has none or cannot be read, and for "-".
std::vector<std::string> inputNames(const std::vector<std::string>& names);

}  // namespace fmp4
