// The recordings of a folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace fmp4 {

// Files are named relative to the folder; empty when there is none.
struct FolderRecording {
  std::string name;      // base name of its files
  std::string manifest;  // DASH
  std::string playlist;  // HLS: the master playlist if there is one, else the media playlist of the video
  std::string audioPlaylist;  // HLS: the media playlist of separate audio
  std::uint64_t bytes = 0;    // bytes of its media files
  bool inProgress = false;    // its playlist has no end yet
};

// The recordings directly in `folder`, by name. A file that appears or disappears meanwhile may or may not be
// in the list; nothing fails.
std::vector<FolderRecording> listRecordings(const std::filesystem::path& folder);

// The same as a JSON array of objects with the members above.
std::string recordingsJson(const std::vector<FolderRecording>& recordings);

}  // namespace fmp4
