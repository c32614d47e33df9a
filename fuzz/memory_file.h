// An input as a file whose bytes are in memory.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>

#include "tests/support/temp_folder.h"

namespace fmp4 {

class MemoryFile {
 public:
  // Throws std::runtime_error when there cannot be one.
  explicit MemoryFile(const std::string& name = "clip.mp4")
      : descriptor_(memfd_create("clip", MFD_CLOEXEC)), path_(folder().file(name)) {
    if (descriptor_ < 0) throw std::runtime_error("no file in memory");
    std::filesystem::create_symlink("/proc/self/fd/" + std::to_string(descriptor_), path_);
  }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  // All are in one folder.
  const std::string& path() const { return path_; }

  // Replaces what it holds.
  void set(std::span<const std::uint8_t> bytes) const {
    const auto size = static_cast<ssize_t>(bytes.size());
    if (ftruncate(descriptor_, 0) != 0 || pwrite(descriptor_, bytes.data(), bytes.size(), 0) != size)
      throw std::runtime_error("the file in memory cannot be written");
  }

 private:
  static const TempFolder& folder() {
    static const TempFolder all;
    return all;
  }

  int descriptor_;
  std::string path_;
};

}  // namespace fmp4
