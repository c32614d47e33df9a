// The filter bank of all channels: their spectra become samples.
#pragma once

#include "audio/umc/aac/decoder_memory.h"

namespace UMC::aac {

// Transforms the spectra of all channels of the layout in place, with full scale 32768; `samples` receives
// their addresses. Channels that the block does not carry are silent.
void SynthesiseChannels(LockedMemory& memory, float** samples);

// The same for coupling channel `index` of the block; returns the address of its samples.
float* SynthesiseCoupling(LockedMemory& memory, int index);

}  // namespace UMC::aac
