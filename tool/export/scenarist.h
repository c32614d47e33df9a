// Scenarist Closed Caption files (SCC): CEA-608 byte pairs with timecodes.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/exact_time.h"

namespace fmp4 {

// A byte pair, with parity, of frame `frame`.
struct TimedPair {
  std::uint64_t frame;
  std::array<std::uint8_t, 2> bytes;
};

// One line for pairs in consecutive frames, under the timecode of the first. Timecodes count the frames of
// the file from frame 0, drop-frame at 29.97; from 48 frames a second on, every two frames. Where two pairs
// are for one of these, the second goes to the next that is free.
std::string scenaristText(std::span<const TimedPair> pairs, const FrameRate& rate);

}  // namespace fmp4
