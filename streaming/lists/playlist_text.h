// The text of an HLS media playlist (RFC 8216, version 7), piece by piece: segments of fragmented MP4 as byte
// ranges of one media file.
#pragma once

#include <cstdint>
#include <string>

struct PlaylistSettings {
  std::string mediaName;                   // name and extension of the media file
  double rate = 0;                         // positions a second: the frame rate, or the sample rate
  std::uint64_t segmentLength = 0;         // positions of a full segment
  std::uint64_t initialisationLength = 0;  // bytes of the media file ahead of its first segment
  std::string startTime;                   // when the recording began: ISO 8601
};

// What a media file's playlist begins with.
std::string PlaylistHeader(const PlaylistSettings& settings);
// The line of the header that names the media file, up to its name's end.
std::string PlaylistMapLine(const std::string& mediaName);
// The segment of the bytes [start, end) of the media file, which lasts for so many positions.
std::string PlaylistEntry(const PlaylistSettings& settings, std::uint64_t positions, std::uint64_t start,
                          std::uint64_t end);
// What ends the playlist of a recording that has ended.
inline constexpr char kPlaylistEnd[] = "#EXT-X-ENDLIST\n";

// The duration that no segment exceeds by more than its rounding, in seconds.
std::uint32_t PlaylistTargetDuration(std::uint64_t segmentLength, double rate);
