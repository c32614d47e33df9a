// A recording that changes while it is read.
#pragma once

#include <fstream>
#include <string>

#include "tests/recovery/recovery.h"

namespace fmp4 {

inline constexpr std::uint32_t kRecorded = kSegmentFrames + 7;

// A recording of video, sound and captions in one file.
struct Recorded : TempFolder {
  std::string path = file("out.ismv");
  Bytes bytes;

  Recorded() {
    MediaFile recording = startKind(*this, kAllInOne);
    EXPECT_TRUE(writeAll(*recording, kAllInOne, kRecorded));
    EXPECT_EQ(closeFile(recording), VL_OK);
    bytes = readFile(path);
  }
  // Writes over the bytes in place, so that whoever has the file open sees them.
  void overwrite(const Bytes& content) const {
    std::fstream out(path, std::ios::binary | std::ios::in | std::ios::out);
    out.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
  }
};

}  // namespace fmp4
