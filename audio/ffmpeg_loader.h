// Loads FFmpeg's libraries at run time, never linked: one set for the entire process.
#pragma once

#include <cstdint>

#include "audio/ffmpeg_abi.h"

namespace fmp4 {

// FFmpeg can be used.
inline constexpr std::int32_t VL_FFMPEG_AVAILABLE = 0;
// FFmpeg is switched off, or its libraries lack a required function.
inline constexpr std::int32_t VL_FFMPEG_REFUSED = -1;
// A library was not found.
inline constexpr std::int32_t VL_FFMPEG_MISSING = -2;

// Loads libavcodec and libavutil unless already loaded, and logs the result to the host. The value
// "AllowFFMPEG" in the host's store, created if missing, switches FFmpeg on (1) or off (0). Returns one of
// the three values above. Thread-safe.
std::int32_t LoadFFmpeg();

// Unloads libavcodec, for which no decoder may be open; libavutil stays loaded. Returns -1.
std::int32_t UnloadFFmpeg();

// The library functions, valid from when LoadFFmpeg has returned VL_FFMPEG_AVAILABLE until UnloadFFmpeg.
const ffmpeg57::Functions& FFmpeg();

// Holds the loader's lock. Decoders are registered, opened and closed under it: the libraries do not support
// any of that on two threads at once.
class FFmpegLock {
 public:
  FFmpegLock();
  ~FFmpegLock();
  FFmpegLock(const FFmpegLock&) = delete;
  FFmpegLock& operator=(const FFmpegLock&) = delete;
};

}  // namespace fmp4
