// The host's timecode library: one function.
#pragma once

#include <cstdint>

#include "vlutil.h"

extern "C" {

// The timecode, in frames since midnight, of a frame of a file that starts at `start`. It wraps after 24
// hours of frames at `timecodeRate` (QVRINFO::timecodeRate): 2073600 frames at 24, 2160000 at 25, 2592000 at
// 30, 2589408 at 30000/1001 (drop-frame timecode, SMPTE ST 12-1), 2071528 at 24000/1001. It does not wrap at
// an unknown rate. If `start` is QVR_NOT_SET, returns the frame number itself.
VLHOST_API std::uint32_t TCXlat(std::uint32_t start, std::uint32_t frame, std::uint32_t timecodeRate);

}  // extern "C"
