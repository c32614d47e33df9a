// A day of small frames with audio, whose cost is that of samples and segments, not of bytes.
#pragma once

#include <string>
#include <vector>

#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

// Makes it in the folder, fragmented; returns its path.
inline std::string makeDaySource(const TempFolder& folder) {
  constexpr double kMinute = 60;
  const std::string minute = folder.file("minute.mp4"), path = folder.file("source.mp4");
  makeMedia(minute, videoInput(kMinute, "30", "320x180") + toneInput(kMinute) + h264Codec() +
                        std::vector<std::string>{"-b:v", "80k", "-c:a", "aac", "-b:a", "48k"});
  makeMedia(path, "-stream_loop", "1439", "-i", minute, "-c", "copy", "-movflags",
            "+frag_keyframe+empty_moov+default_base_moof");
  return path;
}

}  // namespace fmp4
