// Rules by which a source's numbers become the host's description.
#pragma once

#include <cstdint>

#include "base/exact_time.h"

// A rate and its scale.
struct RateScale {
  std::int64_t rate = 0;
  std::int64_t scale = 0;
};

// One step of reduction: both divided by 100 where both are multiples of it, else by 10 likewise. Only one
// such step is taken: 60000/1000 becomes 600/10.
RateScale ReduceRate(RateScale value);

// The broadcast rate that a nominal rate is presented as. The thresholds and the gaps between them are the
// system's rule: 48 frames a second become 30/1, 120 become 12000/100.
FrameRate SnapFrameRate(const FrameRate& nominal);

// The host's timecode-rate flag for a snapped rate.
std::uint32_t TimecodeRateOf(std::uint32_t rate);
