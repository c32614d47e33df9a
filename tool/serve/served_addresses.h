// The addresses under which players find the recordings of a served folder.
#pragma once

#include <string>
#include <vector>

#include "tool/serve/folder_recordings.h"

namespace fmp4 {

// The URL of the page.
std::string pageAddress(int port);

// What `fmp4 serve` prints when it answers: the page, then the manifests and playlists of the first few
// recordings.
std::string servedText(const std::string& folder, int port, const std::vector<FolderRecording>& recordings);

// The same of all recordings as a line of JSON (docs/json.md).
std::string servedJson(const std::string& folder, int port, const std::vector<FolderRecording>& recordings);

}  // namespace fmp4
