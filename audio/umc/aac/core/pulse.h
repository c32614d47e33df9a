// The pulse tool: up to four lines whose magnitude is increased before inverse quantisation (ISO/IEC 14496-3,
// 4.6.3.3).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/scale_factor_bands.h"
#include "base/bit_window.h"

namespace UMC::aac {

struct PulseData {
  int count = 0;
  std::uint16_t line[4];
  std::uint8_t amplitude[4];
};

// Reads pulse_data() of a long window. False for a pulse outside the frame.
bool ParsePulseData(fmp4::BitWindow& stream, const BandTable& bands, PulseData& pulse);

// Moves the quantised lines away from zero; zero itself becomes negative.
void ApplyPulse(const PulseData& pulse, std::int16_t* quantised);

}  // namespace UMC::aac
