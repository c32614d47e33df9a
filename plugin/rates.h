// Rules that convert a source's values to the host's description.
#pragma once

#include <cstdint>

#include "base/exact_time.h"

namespace fmp4 {

// A rate and its scale.
struct RateScale {
  std::int64_t rate = 0;
  std::int64_t scale = 0;
};

// Frames per second until set by a source or the host, and for audio without video.
inline constexpr FrameRate kDefaultFrameRate{30000, 1001};

// One step of reduction: divides both by 100 if both are multiples of it, otherwise by 10 if possible. Only
// one step is taken: 60000/1000 becomes 600/10.
RateScale reduceRate(RateScale value);

// The broadcast rate for a nominal rate. The thresholds and the gaps between them are fixed rules: 48 frames
// per second become 30/1, 120 become 12000/100.
FrameRate snapFrameRate(const FrameRate& nominal);

// The host's timecode rate flag for a snapped rate.
std::uint32_t timecodeRateOf(std::uint32_t rate);

}  // namespace fmp4
