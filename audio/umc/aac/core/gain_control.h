// Gain control of the object type SSR (ISO/IEC 14496-3, 4.4.2.7). It belongs to a filter bank of four bands
// that is not served; its data are read so that what follows them can be.
#pragma once

#include "audio/umc/aac/core/ics_info.h"
#include "base/bit_window.h"

namespace UMC::aac {

// Passes over gain_control_data().
void SkipGainControlData(BitWindow& stream, WindowSequence sequence);

}  // namespace UMC::aac
