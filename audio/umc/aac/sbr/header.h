// sbr_header(): the configuration of SBR (ISO/IEC 14496-3, 4.4.2.8 and 4.5.2.8.1).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::aac {

struct SbrHeader {
  std::uint8_t ampRes;  // 0: envelopes in steps of 1.5 dB, 1: of 3 dB
  std::uint8_t startFreq;
  std::uint8_t stopFreq;
  std::uint8_t xoverBand;
  std::uint8_t freqScale;
  std::uint8_t alterScale;
  std::uint8_t noiseBands;
  std::uint8_t limiterBands;
  std::uint8_t limiterGains;
  bool interpolFreq;
  bool smoothingOff;  // bs_smoothing_mode

  // True if both have the same frequency bands, apart from the limiter's.
  [[nodiscard]] bool HasBandsOf(const SbrHeader& other) const;
};

// Fields that are not transmitted take their defaults, not their previous values.
SbrHeader ParseSbrHeader(fmp4::BitWindow& stream);

}  // namespace UMC::aac
