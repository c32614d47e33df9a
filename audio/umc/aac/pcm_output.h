// The last step of a block: from channels to interleaved PCM.
#pragma once

#include <cstdint>

#include "audio/umc/aac/decoder_memory.h"

namespace UMC::aac {

// Mixes the RenderedChannels(state) channels to those of the output and interleaves them as
// 16-bit samples. `output` has space for OutputBytes.
void WritePcm(LockedMemory& memory, const float* const* samples, std::int16_t* output);

}  // namespace UMC::aac
