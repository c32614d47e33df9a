// The bit allocation: the quantisation of each coefficient, derived from the exponents by a masking model
// (ATSC A/52, 7.2).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::ac3 {

// Parameters shared by all channels, as transmitted codes.
struct SharedAllocation {
  std::uint8_t slowDecay, fastDecay, slowGain, dbPerBit, floor;
  std::uint8_t coarseSnrOffset;
  std::uint8_t couplingFastLeak, couplingSlowLeak;
};

// Corrections of the masking curve, in bands (ATSC A/52, 7.2.2.6).
struct DeltaSegments {
  static constexpr int kMax = 8;
  std::uint8_t count;
  std::uint8_t offset[kMax];  // from the end of the previous segment
  std::uint8_t length[kMax];
  std::uint8_t step[kMax];  // deltba
};

// A channel's own parameters.
struct ChannelAllocation {
  std::uint8_t fineSnrOffset;
  std::uint8_t fastGain;
  bool hasDelta;
  DeltaSegments delta;  // the last ones transmitted; in use if `hasDelta` is set
};

enum class AllocationKind { kFull, kLfe, kCoupling };

// Reads the segments of one channel.
DeltaSegments ParseDeltaSegments(fmp4::BitWindow& stream);

// Sets the pointers of the bins from `start` to `end`. False if delta segments exceed the bands.
bool AllocateBits(AllocationKind kind, int start, int end, const std::uint8_t* exponents,
                  const SharedAllocation& shared, const ChannelAllocation& own, int frequencyCode,
                  int rateShift, std::uint8_t* pointers);

}  // namespace UMC::ac3
