// An HLS media playlist (RFC 8216, version 7) that grows with its media file: segments of fragmented MP4 as
// byte ranges of the one file.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>

struct PlaylistSettings {
  std::string path;
  std::string mediaName;                   // name and extension of the media file, which is the URI
  double rate = 0;                         // positions a second: the frame rate, or the sample rate
  std::uint64_t segmentLength = 0;         // positions of a full segment
  std::uint64_t initialisationLength = 0;  // bytes of the media file ahead of its first segment
};

// Closed when the object goes; without End() it then lacks its end marker, as does one whose recording was
// cut off. A file that cannot be created or written is left alone from there on: no call fails.
class PlaylistWriter {
 public:
  // Creates the file and writes the header.
  void Start(const PlaylistSettings& settings);
  // Adds the bytes [start, end) of the media file, which reach up to the frame or sample `endPosition`.
  void AddSegment(std::uint64_t endPosition, std::uint64_t start, std::uint64_t end);
  void End();

 private:
  void append(const std::string& lines);

  PlaylistSettings settings_;
  std::ofstream file_;               // a text: lines end as the system ends them
  std::uintmax_t writtenBytes_ = 0;  // of whole entries
  std::uint64_t lastEnd_ = 0;        // position at which the last segment ended
};
