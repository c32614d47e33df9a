// FFmpeg's libraries, looked for at run time and never linked: one set for the whole process.
#pragma once

#include <cstdint>

#include "audio/ffmpeg_abi.h"

// FFmpeg can be used.
inline constexpr std::int32_t VL_FFMPEG_AVAILABLE = 0;
// It is switched off, or its libraries lack an entry point.
inline constexpr std::int32_t VL_FFMPEG_REFUSED = -1;
// A library is not there.
inline constexpr std::int32_t VL_FFMPEG_MISSING = -2;

// Finds libavcodec and libavutil unless that is done, and tells in the host's log how it went. The value
// "AllowFFMPEG" of the host's store, which is made when it is missing, switches FFmpeg on (1) and off (0).
// Returns one of the three numbers above. Threads may call it at the same time.
std::int32_t LoadFFmpeg();

// Unloads libavcodec, of which no decoder may be left open; libavutil stays. Returns -1.
std::int32_t UnloadFFmpeg();

// The entry points, valid once LoadFFmpeg has returned VL_FFMPEG_AVAILABLE and until UnloadFFmpeg.
const ffmpeg57::Functions& FFmpeg();

// Holds the loader's lock. Registering, opening and closing decoders is done under it: the libraries do not
// bear any of that on two threads at a time.
class FFmpegLock {
 public:
  FFmpegLock();
  ~FFmpegLock();
  FFmpegLock(const FFmpegLock&) = delete;
  FFmpegLock& operator=(const FFmpegLock&) = delete;
};
