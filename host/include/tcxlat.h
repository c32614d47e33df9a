// The host's timecode library: one entry.
#pragma once

#include <cstdint>

#include "vlutil.h"

extern "C" {

// The timecode, in frames since midnight, of a frame of a file that starts at `start`. The day wraps after
// 24 hours of frames at `timecodeRate` (QVRINFO::timecodeRate): 2073600 frames at 24, 2160000 at 25, 2592000
// at 30, 2589408 at 30000/1001 (the day of drop-frame timecode, SMPTE ST 12-1), 2071528 at 24000/1001. An
// unknown rate does not wrap. A `start` of QVR_NOT_SET gives the frame number itself.
VLHOST_API std::uint32_t TCXlat(std::uint32_t start, std::uint32_t frame, std::uint32_t timecodeRate);

}  // extern "C"
