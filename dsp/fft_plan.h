// Splitting a fast Fourier transform into passes, and the passes' constants.
#pragma once

#include <cstddef>

#include "dsp/kernels/kernels.h"

// Splits a transform of `points` points into passes, at most kMaxFftPasses of them, whose twiddle factors
// lie from `firstValue` on. `*values` receives the index behind them. Returns the count of passes, 0 for a
// size with other prime factors than 2, 3 and 5.
Ipp32s LayOutFftPasses(Ipp32s points, Ipp32s firstValue, FftPass* passes, Ipp32s* values);

// Writes a pass's twiddle factors to their place among `values`.
void FillTwiddles(const FftPass& pass, Ipp32f* values);
