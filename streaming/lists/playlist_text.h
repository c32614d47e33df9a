// The parts of an HLS media playlist (RFC 8216, version 7): segments of fragmented MP4 as byte ranges of one
// media file.
#pragma once

#include <cstdint>
#include <string>

namespace fmp4 {

struct PlaylistSettings {
  std::string mediaName;                   // name and extension of the media file
  double rate = 0;                         // media units per second: the frame rate, or the sample rate
  std::uint64_t segmentLength = 0;         // media units, full segment
  std::uint64_t initialisationLength = 0;  // bytes of the media file before its first segment
  std::string startTime;                   // start of the recording, ISO 8601
};

// The start of a media file's playlist.
std::string playlistHeader(const PlaylistSettings& settings);
// The header line that specifies the media file, up to the end of its name.
std::string playlistMapLine(const std::string& mediaName);
// The segment at bytes [start, end) of the media file, with a duration of `positions` media units.
std::string playlistEntry(const PlaylistSettings& settings, std::uint64_t positions, std::uint64_t start,
                          std::uint64_t end);
// The end of the playlist of a finished recording.
inline constexpr char kPlaylistEnd[] = "#EXT-X-ENDLIST\n";

// The maximum segment duration apart from rounding, in seconds.
std::uint32_t playlistTargetDuration(std::uint64_t segmentLength, double rate);

}  // namespace fmp4
