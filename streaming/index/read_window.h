// A window over the bytes of a file for one reader, which reads ahead when it is read on from.
#pragma once

#include <cstdint>
#include <memory>

#include "mp4box/stream.h"

namespace fmp4 {

// Holds bytes of a file in memory. After a jump it reads little more than is asked for; the further reading
// goes on from there, the more it reads ahead. So scrubbing costs single samples, and playback few reads.
class ReadWindow {
 public:
  // Allocates the memory, with nothing in it, unless that has been done. Returns false if memory is short.
  [[nodiscard]] bool open();
  // Frees the memory.
  void close();
  bool isOpen() const { return bytes_ != nullptr; }

  // Makes `count` bytes from a file offset available. Null if they are more than the window holds or the file
  // does not contain all of them, or if the window is not open. Valid until the next operation.
  const std::uint8_t* view(Mp4Stream& file, std::uint64_t offset, std::uint64_t count);
  // Copies `count` bytes from a file offset. Returns false if the file does not contain all of them. A large
  // count is read directly to its destination; otherwise the window must be open.
  [[nodiscard]] bool read(Mp4Stream& file, std::uint64_t offset, std::uint64_t count,
                          std::uint8_t* destination);

 private:
  std::uint64_t end() const { return offset_ + fill_; }
  // The number of bytes held from `offset` on.
  std::uint64_t held(std::uint64_t offset) const;
  // Reads from `offset` on, after the bytes held there, at least until `count` bytes are held if the file has
  // them. Returns the number of bytes then held.
  std::uint64_t fill(Mp4Stream& file, std::uint64_t offset, std::uint64_t count);
  // How many bytes to read from `offset`, which is not held.
  std::uint64_t expected(std::uint64_t offset);

  std::unique_ptr<std::uint8_t[]> bytes_;
  std::uint64_t offset_ = 0;  // file offset of bytes_[0]
  std::uint64_t fill_ = 0;    // bytes held
  std::uint64_t ahead_ = 0;   // bytes of the last read, 0 before the first
  std::uint64_t asked_ = 0;   // end of the bytes last asked for
};

}  // namespace fmp4
