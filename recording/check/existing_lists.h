// What the lists of a recording that are there know and its media do not tell.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct PreviousManifest {
  std::string startTime;                           // ISO 8601; empty: not given
  bool placesAudio = false;                        // whether sound has a file of its own
  std::optional<std::uint64_t> videoSegmentTicks;  // of a full segment
  std::optional<std::uint64_t> audioSegmentTicks;
  std::optional<std::uint32_t> audioByteRate;
};

// Nothing when the manifest is not there, damaged, or of another recording: one whose video file starts with
// other than `initialisationLength` bytes ahead of its segments.
std::optional<PreviousManifest> readPreviousManifest(const std::string& path,
                                                     std::uint64_t initialisationLength);

struct PreviousPlaylist {
  std::string startTime;                        // ISO 8601; empty: not given
  std::optional<std::uint32_t> targetDuration;  // seconds
};

// Nothing when the playlist is not there, or of another media file.
std::optional<PreviousPlaylist> readPreviousPlaylist(const std::string& path, const std::string& mediaName,
                                                     std::uint64_t initialisationLength);
