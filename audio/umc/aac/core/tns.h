// Temporal noise shaping: prediction over frequency, undone by all-pole filters (ISO/IEC 14496-3, 4.6.9).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/ics_info.h"
#include "base/bit_window.h"

namespace UMC::aac {

// TNS_MAX_ORDER
inline constexpr int kMaxTnsOrderMain = 20;  // of long windows of the object type Main
inline constexpr int kMaxTnsOrderLong = 12;  // of the others'
inline constexpr int kMaxTnsOrderShort = 7;

struct TnsFilter {
  std::uint8_t window;
  std::uint8_t startBand, endBand;  // of the window's bands
  std::uint8_t order;               // above 0
  bool downward;                    // from the highest line to the lowest
  std::uint8_t resolutionBits;      // of the coefficients, 3 or 4
  std::int8_t coefficients[kMaxTnsOrderMain];
};

struct TnsData {
  std::uint8_t count;
  TnsFilter filters[8];  // a long window has up to three, a short one up to one
};

// Reads tns_data(). False for an order beyond the limit.
bool ParseTnsData(BitWindow& stream, const IcsInfo& ics, int objectType, TnsData& tns);

// The direct-form coefficients a[1] to a[order] of a filter, in predictor[0] and on.
void TnsPredictor(const TnsFilter& filter, float* predictor);

// Filters the spectrum in place.
void ApplyTns(const TnsData& tns, const IcsInfo& ics, float* spectrum);

// The reverse, as an encoder does it.
void ApplyTnsAnalysis(const TnsData& tns, const IcsInfo& ics, float* spectrum);

}  // namespace UMC::aac
