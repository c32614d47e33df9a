// The plug-in loaded as a host loads it, and its objects.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "mediafile.h"
#include "tests/support/places.h"
#include "vlutil.h"

namespace fmp4 {

struct Plugin {
  void* library = vlOSLoadLibrary(VL_BIN_DIR "/vlx_fmp4", 2);

  using Check = std::int64_t (*)(const char*, std::uint32_t, void*);
  using Media = std::int64_t (*)(CAMediaFile*, std::uint32_t, void*);
  Check check = reinterpret_cast<Check>(vlOSGetProcAddress(library, "xCheckVersionAndFile"));
  Media media = reinterpret_cast<Media>(vlOSGetProcAddress(library, "xMediaFile"));
};

// Loaded once per test program.
inline const Plugin& plugin() {
  static const Plugin loaded;
  return loaded;
}

inline CAMediaFile* objectOf(std::int64_t result) {
  return reinterpret_cast<CAMediaFile*>(static_cast<std::intptr_t>(result));
}

struct Destroy {
  void operator()(CAMediaFile* object) const {
    MFXCLOSE close{};
    plugin().media(object, 2, &close);
  }
};
using MediaFile = std::unique_ptr<CAMediaFile, Destroy>;

inline MFXOPEN readRequest(const std::string& path, std::uint32_t openFlags = 0) {
  return {147, VL_GENERIC_READ, path.c_str(), VL_SHARE_READ_WRITE, VL_OPEN_EXISTING, nullptr, 0, openFlags};
}

// A constructed, unopened object.
inline MediaFile createObject() {
  std::uint32_t fileType = 147;
  return MediaFile(objectOf(plugin().media(nullptr, 0, &fileType)));
}

// An object opened for reading, null when the plug-in refuses.
inline MediaFile openFile(const std::string& path, std::uint32_t openFlags = 0) {
  MFXOPEN request = readRequest(path, openFlags);
  return MediaFile(objectOf(plugin().media(nullptr, 1, &request)));
}

// One frame as delivered.
struct VideoFrame {
  std::uint32_t status = 0;
  std::vector<std::uint8_t> data;
  DFRAME descriptor{};

  bool key() const { return (descriptor.flags & DFRAME_KEY) != 0; }
};

inline VideoFrame readFrame(CAMediaFile& file, std::uint32_t frame) {
  VideoFrame result;
  std::vector<std::uint8_t> buffer(
      std::max<std::uint32_t>(1, file.Read(0, 1, 1, QVR_MODE_VIDEO, nullptr, nullptr)));
  result.descriptor.size = sizeof(DFRAME);
  result.descriptor.data = buffer.data();
  result.descriptor.dataCapacity = static_cast<std::uint32_t>(buffer.size());
  result.status = file.Read(frame, 1, 1, QVR_MODE_VIDEO, &result.descriptor, nullptr);
  if (result.status == VL_OK) result.data.assign(buffer.begin(), buffer.begin() + result.descriptor.bytes);
  return result;
}

// The descriptions of an object; the video one is too large for a stack.
struct Described {
  QVRSYSTEM system{};
  std::unique_ptr<QVRVIDEO> video = std::make_unique<QVRVIDEO>();
  QVRAUDIO audio{};
  QVRINFO info{};
};

inline Described describe(CAMediaFile& file, std::uint32_t mask = 1) {
  Described d;
  EXPECT_EQ(file.GetFileInfo(mask, &d.system, d.video.get(), &d.audio, &d.info), VL_OK);
  return d;
}

}  // namespace fmp4
