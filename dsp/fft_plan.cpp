#include "dsp/fft_plan.h"

#include <cmath>
#include <initializer_list>
#include <numbers>

namespace UMC {

Ipp32s LayOutFftPasses(Ipp32s points, Ipp32s firstValue, FftPass* passes, Ipp32s* values) {
  Ipp32s count = 0;
  Ipp32s remaining = points;
  Ipp32s span = 1;
  *values = firstValue;
  while (remaining > 1) {
    Ipp32s radix = 0;
    for (const Ipp32s candidate : {4, 2, 3, 5}) {
      if (remaining % candidate == 0) {
        radix = candidate;
        break;
      }
    }
    if (radix == 0 || count == kMaxFftPasses) return 0;
    remaining /= radix;
    passes[count++] = {radix, span, remaining, *values};
    *values += 2 * (radix - 1) * remaining;
    span *= radix;
  }
  return count;
}

void FillTwiddles(const FftPass& pass, Ipp32f* values) {
  Ipp32f* twiddle = values + pass.twiddleOffset;
  for (Ipp32s power = 1; power < pass.radix; ++power, twiddle += 2 * pass.groups) {
    for (Ipp32s p = 0; p < pass.groups; ++p) {
      const double angle = -2 * std::numbers::pi * p * power / (pass.radix * pass.groups);
      twiddle[p] = static_cast<Ipp32f>(std::cos(angle));
      twiddle[p + pass.groups] = static_cast<Ipp32f>(std::sin(angle));
    }
  }
}

}  // namespace UMC
