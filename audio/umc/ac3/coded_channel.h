// One coded channel: exponents, their bit allocation, and the resulting coefficients.
#pragma once

#include <cstdint>

#include "audio/umc/ac3/bit_allocation.h"
#include "dsp/ipps_memory.h"

namespace UMC::ac3 {

inline constexpr int kMaxFullChannels = 5;
// Index of the LFE channel, after the full bandwidth channels, in arrays of all channels.
inline constexpr int kLfe = kMaxFullChannels;
inline constexpr int kMaxChannels = kLfe + 1;
inline constexpr int kCoupling = kMaxChannels;
inline constexpr int kCodedChannels = kMaxChannels + 1;

inline constexpr int kBins = 256;
inline constexpr int kLfeEnd = 7;

// Mantissas by how they are coded: in groups for pointers 1, 2 and 4, or with an individual code word.
inline constexpr int kGroupKinds = 3;
inline constexpr int kOwn = kGroupKinds;
inline constexpr int kMantissaKinds = kGroupKinds + 1;

struct CodedChannel {
  std::int16_t start, end;                  // bins coded in this block
  std::int16_t exponentStart, exponentEnd;  // bins whose exponents are known
  bool allocationStale;                     // an input of `pointers` has changed
  ChannelAllocation allocation;
  std::uint8_t exponents[kBins];
  std::uint8_t pointers[kBins];                       // bit allocation pointers (bap) of the coded bins
  std::uint8_t kindBins[kMantissaKinds][kBins];       // the bins of each kind, ascending
  std::int16_t kindCounts[kMantissaKinds];            // number of bins of each kind
  std::uint8_t ownBits[kBins];                        // bits of code words for a single bin; 0 for other bins
  alignas(kIppsAlignment) float coefficients[kBins];  // full scale is 1; 0 past the end
};

}  // namespace UMC::ac3
