// What the existing manifest and playlists of a recording say and its media do not.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace fmp4 {

struct PreviousManifest {
  std::string startTime;                           // ISO 8601; empty: unspecified
  bool placesAudio = false;                        // whether audio has a file of its own
  std::optional<std::uint64_t> videoSegmentTicks;  // of a full segment
  std::optional<std::uint64_t> audioSegmentTicks;
  std::optional<std::uint32_t> audioByteRate;
};

// Nothing when the manifest is missing, damaged or of another recording: one whose video file has not
// `initialisationLength` bytes before its segments.
std::optional<PreviousManifest> readPreviousManifest(const std::string& path,
                                                     std::uint64_t initialisationLength);

struct PreviousPlaylist {
  std::string startTime;                        // ISO 8601; empty: unspecified
  std::optional<std::uint32_t> targetDuration;  // seconds
};

// Nothing when the playlist is missing, or of another media file.
std::optional<PreviousPlaylist> readPreviousPlaylist(const std::string& path, const std::string& mediaName,
                                                     std::uint64_t initialisationLength);

}  // namespace fmp4
