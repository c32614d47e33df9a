// Splitting a fast Fourier transform into passes, and the passes' constants.
#pragma once

#include <cstddef>

#include "dsp/kernels/kernels.h"

namespace UMC {

// Splits a transform of `points` points into at most kMaxFftPasses passes, whose twiddle factors start at
// index `firstValue`. `*values` receives the index after the last factor. Returns the number of passes, or 0
// if the size has prime factors other than 2, 3 and 5.
Ipp32s LayOutFftPasses(Ipp32s points, Ipp32s firstValue, FftPass* passes, Ipp32s* values);

// Writes a pass's twiddle factors into `values` at its offset.
void FillTwiddles(const FftPass& pass, Ipp32f* values);

}  // namespace UMC
