// scale_factor_data(): scale factors, intensity positions and noise energies (ISO/IEC 14496-3, 4.6.2.3,
// 4.6.8.2.3 and 4.6.13.3).
#pragma once

#include "audio/umc/aac/core/channel_stream.h"
#include "audio/umc/aac/core/codebooks.h"
#include "base/bit_window.h"

namespace UMC::aac {

// False for a scale factor outside 0 to 255.
bool ParseScaleFactorData(fmp4::BitWindow& stream, const Codebooks& codebooks, int globalGain,
                          ChannelStream& channel);

}  // namespace UMC::aac
