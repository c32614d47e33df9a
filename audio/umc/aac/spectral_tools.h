// The tools between a block's spectral data and the filter bank, in the decoder's order (ISO/IEC
// 14496-3, 4.1.1).
#pragma once

#include <cstdint>
#include <span>

#include "audio/umc/aac/decoder_memory.h"

namespace UMC::aac {

// Applies noise substitution, joint stereo, prediction, coupling of spectra and TNS to the spectra of the
// parsed block. The noise depends on `bytes`, which are the block's.
void ApplySpectralTools(LockedMemory& memory, std::span<const std::uint8_t> bytes);

}  // namespace UMC::aac
