// Writes an HLS media playlist that grows with its media file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "streaming/lists/playlist_text.h"

namespace fmp4 {

// Closed on destruction; without end() the end marker is missing, as in the playlist of an interrupted
// recording. If the file cannot be created or written, it is not touched any more, and no call fails. If
// memory runs out (std::bad_alloc), nothing changes.
class PlaylistWriter {
 public:
  // Creates the file `path` and writes the header.
  void start(const std::string& path, const PlaylistSettings& settings);
  // Adds the bytes [start, end) of the media file, up to the frame or sample `endPosition`.
  void AddSegment(std::uint64_t endPosition, std::uint64_t start, std::uint64_t end);
  void end();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void append(const std::string& lines);
  void takeBack();

  std::filesystem::path path_;
  PlaylistSettings settings_;
  std::unique_ptr<std::FILE, Close> file_;
  std::uintmax_t writtenBytes_ = 0;  // bytes, complete entries only
  std::uint64_t lastEnd_ = 0;        // end position of the last segment
};

}  // namespace fmp4
