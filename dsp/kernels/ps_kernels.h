// The inner loops of parametric stereo (ISO/IEC 14496-3, 8.6.4) that exist once per instruction set. They
// work on one QMF slot at a time. Spectra are vectors of real and of imaginary parts, by hybrid band.
#pragma once

#include <cstddef>

#include "dsp/ipps_types.h"

// A bank of filters that read the same complex signal: for the output at time t,
// y[q] = sum over i from -6 to 6 of tap(q, i) * x[t - i], where tap(q, -i) is the conjugate of tap(q, i).
struct PsFilterBank {
  static constexpr int kReach = 6;
  static constexpr int kMaxFilters = 12;

  Ipp32s filters;  // a multiple of 4; those beyond the ones in use give 0
  Ipp32f re[kReach + 1][kMaxFilters];
  Ipp32f im[kReach + 1][kMaxFilters];
};

inline constexpr int kPsAllPassLinks = 3;
// Bands that pass all-pass filters at most, in whole vectors.
inline constexpr int kPsAllPassBands = 56;

struct PsSpectrum {
  Ipp32f* re;
  Ipp32f* im;
};

// The constants of a bank of all-pass filters, one a band: the input turned by `phase`, then for every link
// H(z) = (rotation z^-d - feedback) / (1 - feedback rotation z^-d), where d is the link's delay.
struct PsAllPassBank {
  Ipp32s bands;  // a multiple of 4; all factors of those beyond the ones in use are 0
  Ipp32f phase[2][kPsAllPassBands];
  Ipp32f rotation[kPsAllPassLinks][2][kPsAllPassBands];
  Ipp32f feedback[kPsAllPassLinks][kPsAllPassBands];
};

// What the links of a bank hold of one slot: real, then imaginary parts.
using PsAllPassRow = Ipp32f[2][kPsAllPassBands];

// Running mixing coefficients, by hybrid band: left = h[0] s + h[2] d, right = h[1] s + h[3] d; the imaginary
// parts are h[4] to h[7].
inline constexpr int kPsHybridBands = 96;
struct PsMixer {
  Ipp32f h[8][kPsHybridBands];
  Ipp32f step[8][kPsHybridBands];  // added ahead of every slot
};

struct PsKernels {
  // The outputs of a bank for the middle one of 13 samples, complex, in the order of time.
  void (*filter)(const PsFilterBank& bank, const Ipp32fc* samples, PsSpectrum out);
  // powers[i] = |in[i]|^2
  void (*power)(PsSpectrum in, Ipp32f* powers, std::size_t length);
  // Takes complex values apart.
  void (*split)(const Ipp32fc* in, PsSpectrum out, std::size_t length);
  // One slot through a bank. `links` are what each link held its delay ago, and become what it holds now.
  void (*allPass)(const PsAllPassBank& bank, PsSpectrum in, PsAllPassRow* const* links, PsSpectrum out);
  // Mixes the bands from `first` to `end` - 1 of `s`, and of `d` times `gains`, with the mixer's next
  // coefficients. With `phases` these are complex.
  void (*mix)(PsMixer& mixer, bool phases, std::size_t first, std::size_t end, PsSpectrum s, PsSpectrum d,
              const Ipp32f* gains, Ipp32fc* left, Ipp32fc* right);
};
