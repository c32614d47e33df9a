// An HLS media playlist that grows with its media file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "streaming/lists/playlist_text.h"

// Closed when the object goes; without End() it then lacks its end marker, as does one whose recording was
// cut off. A file that cannot be created or written is left alone from there on: no call fails. Where memory
// runs out (std::bad_alloc), nothing has changed.
class PlaylistWriter {
 public:
  // Creates the file `path` and writes the header.
  void Start(const std::string& path, const PlaylistSettings& settings);
  // Adds the bytes [start, end) of the media file, which reach up to the frame or sample `endPosition`.
  void AddSegment(std::uint64_t endPosition, std::uint64_t start, std::uint64_t end);
  void End();

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void append(const std::string& lines);
  void takeBack();

  std::filesystem::path path_;
  PlaylistSettings settings_;
  std::unique_ptr<std::FILE, Close> file_;
  std::uintmax_t writtenBytes_ = 0;  // of complete entries
  std::uint64_t lastEnd_ = 0;        // position at which the last segment ended
};
