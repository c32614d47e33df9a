// The samples of a plain or fragmented MP4 file, in the order of their tracks (ISO/IEC 14496-12).
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "mp4box/stream.h"
#include "tool/source/sample_source.h"

namespace fmp4 {

class SourceFile : public SampleSource {
 public:
  // Throws UserError when the file cannot be opened or read to its end, or holds no movie box.
  explicit SourceFile(const std::string& path);

  const std::string& path() const override { return path_; }
  std::vector<SourceTrack>& tracks() override { return tracks_; }
  // All samples of a file are known from the start.
  bool more() override { return false; }
  std::span<std::uint8_t> read(const SourceTrack& track, std::size_t index) override;

 private:
  // Bytes of a track that follow each other in the file.
  struct Window {
    std::uint64_t offset = 0;  // in the file
    std::uint64_t count = 0;
    std::unique_ptr<std::uint8_t[]> bytes;
    std::uint64_t capacity = 0;
  };

  void fill(Window& window, std::uint64_t offset, std::uint64_t count);

  std::string path_;
  Mp4Stream stream_;
  std::uint64_t size_ = 0;  // bytes
  std::vector<SourceTrack> tracks_;
  std::vector<Window> windows_;  // one for each track
};

}  // namespace fmp4
