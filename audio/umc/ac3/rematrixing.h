// Rematrixing: sums and differences of the two channels of 2/0, band by band (ATSC A/52, 7.5).
#pragma once

#include "audio/umc/ac3/channel_coupling.h"
#include "base/bit_window.h"

namespace UMC::ac3 {

inline constexpr int kRematrixingBands = 4;

struct Rematrixing {
  bool known;
  bool flags[kRematrixingBands];
};

// Reads a block's flags in a 2/0 stream. False if none are transmitted and there are no earlier ones.
bool ParseRematrixing(fmp4::BitWindow& stream, const CouplingStrategy& coupling, Rematrixing& rematrixing);

// Restores left and right in the bins below `end`, where both channels' own bins end.
void ApplyRematrixing(const Rematrixing& rematrixing, int end, float* left, float* right);

}  // namespace UMC::ac3
