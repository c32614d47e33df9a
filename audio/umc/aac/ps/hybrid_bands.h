// The parameter bands of the hybrid bands (ISO/IEC 14496-3, tables 8.48 and 8.49). Both functions run for
// every QMF slot.
#pragma once

#include "audio/umc/aac/ps/tables.h"

namespace UMC::aac {

// Copies values of parameter bands to their hybrid bands.
void SpreadPsBands(const PsConfiguration& configuration, const float* bands, float* hybrid);

// Sums values of hybrid bands by parameter band, in ascending order.
void SumPsBands(const PsConfiguration& configuration, const float* hybrid, float* bands);

}  // namespace UMC::aac
