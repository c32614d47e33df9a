// Independently switched coupling channels, which are added to other channels as samples (ISO/IEC 14496-3,
// 4.6.8.3).
#pragma once

#include "audio/umc/aac/decoder_memory.h"

namespace UMC::aac {

// Adds the signals of the block's coupling channels to the samples of their targets, by channel of the
// layout, or to both channels that parametric stereo has made of one. Coupling channels that the block lacks
// are reset.
void AddCoupledSignals(LockedMemory& memory, float* const* samples);

}  // namespace UMC::aac
