// Gain control of the object type SSR (ISO/IEC 14496-3, 4.4.2.7). It belongs to an unsupported four-band
// filter bank; its data are parsed only to reach what follows them.
#pragma once

#include "audio/umc/aac/core/ics_info.h"
#include "base/bit_window.h"

namespace UMC::aac {

// Skips gain_control_data().
void SkipGainControlData(fmp4::BitWindow& stream, WindowSequence sequence);

}  // namespace UMC::aac
