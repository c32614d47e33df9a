// spectral_data() and its conversion to coefficients: pulses, inverse quantisation, rescaling (ISO/IEC
// 14496-3, 4.6.1 to 4.6.3).
#pragma once

#include "audio/umc/aac/core/channel_stream.h"
#include "audio/umc/aac/core/codebooks.h"
#include "audio/umc/aac/core/pulse.h"
#include "base/bit_window.h"

namespace UMC::aac {

// Reads the quantised lines and fills channel.spectrum. `quantised` is a buffer for a frame's lines. False
// for invalid codes.
bool ParseSpectralData(fmp4::BitWindow& stream, const Codebooks& codebooks, const PulseData& pulse,
                       std::int16_t* quantised, ChannelStream& channel);

}  // namespace UMC::aac
