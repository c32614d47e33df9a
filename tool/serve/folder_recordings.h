// The recordings of a folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// Files are named relative to the folder; empty: there is none.
struct FolderRecording {
  std::string name;      // base name of its files
  std::string manifest;  // DASH
  std::string playlist;  // HLS: the master playlist once there is one, else the media playlist of the video
  std::string audioPlaylist;  // HLS: the media playlist of sound kept apart
  std::uint64_t bytes = 0;    // of its media
  bool inProgress = false;    // its playlist has no end yet
};

// The recordings that lie in `folder` itself, by name. A file that comes or goes meanwhile is in the list or
// not; nothing fails.
std::vector<FolderRecording> listRecordings(const std::filesystem::path& folder);

// The same as a JSON array of objects with the members above.
std::string recordingsJson(const std::vector<FolderRecording>& recordings);
