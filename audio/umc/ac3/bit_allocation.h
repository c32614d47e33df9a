// The bit allocation: how finely each coefficient is quantised, derived from the exponents by a model of
// masking (ATSC A/52, 7.2).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::ac3 {

// Parameters that all channels share, as the codes that are sent.
struct SharedAllocation {
  std::uint8_t slowDecay, fastDecay, slowGain, dbPerBit, floor;
  std::uint8_t coarseSnrOffset;
  std::uint8_t couplingFastLeak, couplingSlowLeak;
};

// Corrections of the masking curve, in bands (ATSC A/52, 7.2.2.6).
struct DeltaSegments {
  static constexpr int kMax = 8;
  std::uint8_t count;
  std::uint8_t offset[kMax];  // from the end of the segment before
  std::uint8_t length[kMax];
  std::uint8_t step[kMax];  // deltba
};

// A channel's own parameters.
struct ChannelAllocation {
  std::uint8_t fineSnrOffset;
  std::uint8_t fastGain;
  bool hasDelta;
  DeltaSegments delta;  // the last that were sent, in use where `hasDelta` is set
};

enum class AllocationKind { kFull, kLfe, kCoupling };

// Reads the segments of one channel.
DeltaSegments ParseDeltaSegments(BitWindow& stream);

// Sets the pointers of the bins from `start` to `end`. False for delta segments that leave the bands.
bool AllocateBits(AllocationKind kind, int start, int end, const std::uint8_t* exponents,
                  const SharedAllocation& shared, const ChannelAllocation& own, int frequencyCode,
                  int rateShift, std::uint8_t* pointers);

}  // namespace UMC::ac3
