// The disk beneath a file that somebody else writes.
#pragma once

#include <cstdint>
#include <string>

namespace os {

// A second opening of a file, beside the handle through which its bytes are written. It stays with the file
// when that is renamed. Closed when the object goes.
class DiskFile {
 public:
  DiskFile() = default;
  DiskFile(const DiskFile&) = delete;
  DiskFile& operator=(const DiskFile&) = delete;
  ~DiskFile() { close(); }

  // Opens the existing file `path` (UTF-8). Returns whether it could be opened.
  [[nodiscard]] bool open(const std::string& path);
  // Waits until all bytes that were written to the file, through whatever handle, have reached the disk.
  // Returns false when they did not, and when nothing is open.
  [[nodiscard]] bool sync();
  // Takes off what the file holds from byte `size` on; a file that is no longer than that stays as it is.
  // Returns false when that failed, and when nothing is open.
  bool cut(std::uint64_t size);
  void close();

 private:
  static constexpr std::intptr_t kNone = -1;
  std::intptr_t file_ = kNone;  // a descriptor, or a HANDLE
};

// Waits until the name of the file `path` (UTF-8) has reached the disk, where names reach it apart from what
// they name. Returns false when it did not.
bool syncName(const std::string& path);

}  // namespace os
