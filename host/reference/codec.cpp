#include <algorithm>
#include <array>

#include "codecutil.h"

namespace {

constexpr std::uint32_t fourcc(const char (&text)[5]) {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<std::uint8_t>(text[i]);
  return code;
}

constexpr std::array kCompressedAudio = {fourcc("mp4a"), fourcc("aac "), fourcc("ac-3"), fourcc("eac3"),
                                         fourcc("ec-3"), fourcc(".mp1"), fourcc(".mp2"), fourcc(".mp3")};

}  // namespace

std::int32_t fccIsCompressedAudio(std::uint32_t code) {
  return std::find(kCompressedAudio.begin(), kCompressedAudio.end(), code) != kCompressedAudio.end() ? 1 : 0;
}

std::uint32_t fccGetDrFlagsVideo(const QVRVIDEO* video) {
  if (video == nullptr) return 0;
  return video->bitmap.compression == 0 ? video->flags & ~QVR_VIDEO_COMPRESSED
                                        : video->flags | QVR_VIDEO_COMPRESSED;
}
