// Frames as the times that caption files have.
#pragma once

#include <cstdint>
#include <string>

#include "base/exact_time.h"

namespace fmp4 {

// "00:01:02,345" with `separator` before the milliseconds; the nearest millisecond to the frame's start.
// Hours have two digits or more.
std::string clockText(std::uint64_t frame, const FrameRate& rate, char separator);

// The timecode of a frame (SMPTE ST 12-1), "00:01:02:03" at `framesASecond`. Drop-frame, "00:01:02;03",
// leaves out the first two numbers of each minute but every tenth, to stay with the clock at 29.97.
std::string timecodeText(std::uint64_t frame, std::uint32_t framesASecond, bool dropFrame);

}  // namespace fmp4
