// What the existing manifest and playlists of a recording say and its media do not.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace fmp4 {

// The text of a manifest or playlist on the disk; nothing when it is missing or too large to be one. Like all
// that follows, throws UserError when reading it fails: it must not pass for missing.
std::optional<std::string> readList(const std::string& path);

struct PreviousManifest {
  std::string startTime;                           // ISO 8601; empty: unspecified
  bool placesAudio = false;                        // whether audio has a file of its own
  std::optional<std::uint64_t> videoSegmentTicks;  // of a full segment
  std::optional<std::uint64_t> audioSegmentTicks;
  std::optional<std::uint32_t> audioByteRate;
  std::uint64_t audioSegments = 0;  // that it lists of an audio file
};

// Nothing when the manifest is missing, damaged or of another recording: one whose video file has not
// `initialisationLength` bytes before its segments.
std::optional<PreviousManifest> readPreviousManifest(const std::string& path,
                                                     std::uint64_t initialisationLength);

// The media file that the first representation of a manifest names, without a folder; nothing when there is
// no such manifest.
std::optional<std::string> firstMediaOf(const std::string& manifest);

struct PreviousPlaylist {
  std::string startTime;                        // ISO 8601; empty: unspecified
  std::optional<std::uint32_t> targetDuration;  // seconds
};

// Nothing when the playlist is missing, or of another media file.
std::optional<PreviousPlaylist> readPreviousPlaylist(const std::string& path, const std::string& mediaName,
                                                     std::uint64_t initialisationLength);

// How many segments of the file `mediaName` a playlist lists; 0 when there is no playlist.
std::uint64_t segmentsListed(const std::string& playlist, const std::string& mediaName);

}  // namespace fmp4
