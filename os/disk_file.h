// Access to the disk copy of a file that is written elsewhere.
#pragma once

#include <cstdint>
#include <string>

namespace fmp4::os {

// A second handle to a file, next to the one through which its bytes are written. It stays with the file when
// that is renamed. Closed on destruction.
class DiskFile {
 public:
  DiskFile() = default;
  DiskFile(const DiskFile&) = delete;
  DiskFile& operator=(const DiskFile&) = delete;
  ~DiskFile() { close(); }

  // Opens the existing file `path` (UTF-8). Returns whether that succeeded.
  [[nodiscard]] bool open(const std::string& path);
  // Waits until all bytes written to the file, through any handle, have reached the disk. Returns false if
  // this failed or no file is open.
  [[nodiscard]] bool sync();
  // Prepares the file for `count` bytes that will be written from `offset` on, if that makes writing them
  // quicker. Its length and content stay.
  void claim(std::uint64_t offset, std::uint64_t count);
  // Truncates the file to `size` bytes, and frees what was claimed after them; a shorter file stays
  // unchanged. Returns false if this failed or no file is open.
  bool cut(std::uint64_t size);
  void close();

 private:
  static constexpr std::intptr_t kNone = -1;
  std::intptr_t file_ = kNone;  // a file descriptor, or a HANDLE
};

// Waits until the directory entry of the file `path` (UTF-8) has reached the disk, on systems that flush it
// separately. Returns false on failure.
bool syncName(const std::string& path);

}  // namespace fmp4::os
