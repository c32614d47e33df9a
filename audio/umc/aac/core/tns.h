// Temporal noise shaping: prediction over frequency, reversed by all-pole filters (ISO/IEC 14496-3, 4.6.9).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/ics_info.h"
#include "base/bit_window.h"

namespace UMC::aac {

// TNS_MAX_ORDER
inline constexpr int kMaxTnsOrderMain = 20;  // long windows, object type Main
inline constexpr int kMaxTnsOrderLong = 12;  // long windows, other object types
inline constexpr int kMaxTnsOrderShort = 7;

struct TnsFilter {
  std::uint8_t window;
  std::uint8_t startBand, endBand;  // bands of the window
  std::uint8_t order;               // above 0
  bool downward;                    // filters from the highest line to the lowest
  std::uint8_t resolutionBits;      // bits per coefficient, 3 or 4
  std::int8_t coefficients[kMaxTnsOrderMain];
};

struct TnsData {
  std::uint8_t count;
  TnsFilter filters[8];  // up to three for a long window, up to one for a short window
};

// Reads tns_data(). False if an order exceeds the limit.
bool ParseTnsData(fmp4::BitWindow& stream, const IcsInfo& ics, int objectType, TnsData& tns);

// The direct-form coefficients a[1] to a[order] of a filter, in predictor[0] onwards.
void TnsPredictor(const TnsFilter& filter, float* predictor);

// Filters the spectrum in place.
void ApplyTns(const TnsData& tns, const IcsInfo& ics, float* spectrum);

// The inverse operation, as in an encoder.
void ApplyTnsAnalysis(const TnsData& tns, const IcsInfo& ics, float* spectrum);

}  // namespace UMC::aac
