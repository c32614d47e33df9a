// Reads the top level of a file with few host reads, through a read-ahead window.
#pragma once

#include <cstdint>
#include <vector>

#include "mp4box/stream.h"

namespace fmp4 {

// The bytes of a file read by a window stream; they outlive the stream.
struct Mp4Window {
  std::vector<std::uint8_t> bytes;
  std::uint64_t offset = 0;  // file offset of bytes[0]

  std::uint64_t end() const { return offset + bytes.size(); }
};

// A stream on top of another that keeps a window of its file in memory. Reads inside the window need no file
// access, and every file read fetches at least `ahead` bytes. The file is assumed to be `size` bytes long and
// not to change where it has been read.
class Mp4WindowStream final : public Mp4Stream {
 public:
  // `file` and `window` must outlive the stream.
  Mp4WindowStream(Mp4Stream& file, Mp4Window& window, std::uint64_t size, std::uint64_t ahead)
      : file_(file), window_(window), size_(size), ahead_(ahead) {}

  VLHANDLE open(const char* path, std::uint32_t mode) override;  // VL_NO_HANDLE: the file is already open
  std::int64_t read(void* buffer, std::int64_t count) override;
  std::int64_t write(const void* buffer, std::int64_t count) override;  // -1: read-only
  std::int64_t peek(void* buffer, std::int64_t count) override;
  std::uint64_t tell() override { return position_; }
  std::int64_t close() override { return 0; }
  bool seek(std::uint64_t offset) override;
  std::uint64_t size() override { return size_; }
  const std::uint8_t* view(std::uint64_t offset, std::uint64_t count) override;
  std::uint64_t readFailures() const override { return file_.readFailures(); }

 private:
  // Fetches bytes into the window. Returns how many of `count` bytes it holds at `offset`.
  std::uint64_t cover(std::uint64_t offset, std::uint64_t count);

  Mp4Stream& file_;
  Mp4Window& window_;
  std::uint64_t size_;
  std::uint64_t ahead_;
  std::uint64_t position_ = 0;
};

}  // namespace fmp4
