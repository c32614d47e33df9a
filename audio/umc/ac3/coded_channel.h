// One channel as it is coded: exponents, their bit allocation, and the coefficients made of them.
#pragma once

#include <cstdint>

#include "audio/umc/ac3/bit_allocation.h"

namespace UMC::ac3 {

inline constexpr int kMaxFullChannels = 5;
// Behind the full bandwidth channels, in the arrays that have them all.
inline constexpr int kLfe = kMaxFullChannels;
inline constexpr int kMaxChannels = kLfe + 1;
inline constexpr int kCoupling = kMaxChannels;
inline constexpr int kCodedChannels = kMaxChannels + 1;

inline constexpr int kBins = 256;
inline constexpr int kLfeEnd = 7;

// Mantissas by the way that they are coded: in groups of pointer 1, 2 and 4, or with a code word of their
// own.
inline constexpr int kGroupKinds = 3;
inline constexpr int kOwn = kGroupKinds;
inline constexpr int kMantissaKinds = kGroupKinds + 1;

struct CodedChannel {
  std::int16_t start, end;                  // bins coded in this block
  std::int16_t exponentStart, exponentEnd;  // bins whose exponents are known
  bool allocationStale;                     // something that `pointers` depend on has changed
  ChannelAllocation allocation;
  std::uint8_t exponents[kBins];
  std::uint8_t pointers[kBins];                  // bit allocation pointers (bap) of the bins coded
  std::uint8_t kindBins[kMantissaKinds][kBins];  // the bins of every kind, rising,
  std::int16_t kindCounts[kMantissaKinds];       // and how many
  std::uint8_t ownBits[kBins];                   // of the code words that serve one bin; 0 for other bins
  alignas(16) float coefficients[kBins];         // full scale being 1; 0 behind the end
};

}  // namespace UMC::ac3
