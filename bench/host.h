// The plug-in as used by a host, to measure the cost of its calls.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "mediafile.h"
#include "tests/support/places.h"

namespace fmp4 {

using MediaFileEntry = std::int64_t (*)(CAMediaFile*, std::uint32_t, void*);

inline MediaFileEntry mediaFileEntry() {
  void* library = vlOSLoadLibrary(VL_BIN_DIR "/vlx_fmp4.so", 2);
  if (!library) throw std::runtime_error("the plug-in does not load");
  return reinterpret_cast<MediaFileEntry>(vlOSGetProcAddress(library, "xMediaFile"));
}

// A file opened for reading and closed on destruction.
class OpenRecording {
 public:
  OpenRecording(MediaFileEntry entry, const std::string& path) : entry_(entry) {
    MFXOPEN request{147, VL_GENERIC_READ, path.c_str(), VL_SHARE_READ_WRITE, VL_OPEN_EXISTING, nullptr, 0, 0};
    file_ = reinterpret_cast<CAMediaFile*>(static_cast<std::intptr_t>(entry_(nullptr, MFX_OPEN, &request)));
    if (!file_) throw std::runtime_error(path + " does not open");
  }
  ~OpenRecording() {
    MFXCLOSE close{};
    entry_(file_, MFX_CLOSE, &close);
  }
  OpenRecording(const OpenRecording&) = delete;
  OpenRecording& operator=(const OpenRecording&) = delete;
  CAMediaFile* operator->() const { return file_; }

 private:
  MediaFileEntry entry_;
  CAMediaFile* file_;
};

}  // namespace fmp4
