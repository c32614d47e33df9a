// A clip to be decoded.
#pragma once

#include <string>
#include <vector>

#include "tests/support/ffmpeg.h"

namespace fmp4 {

// Makes two seconds of fragmented H.264 and AAC.
inline void makeClip(const std::string& path) {
  makeMedia(path, videoInput(2, "25", "64x64") + toneInput(2) + h264Codec() +
                      std::vector<std::string>{"-c:a", "aac", "-movflags",
                                               "frag_keyframe+empty_moov+default_base_moof"});
}

}  // namespace fmp4
