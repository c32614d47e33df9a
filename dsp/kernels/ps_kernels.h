// The inner loops of parametric stereo (ISO/IEC 14496-3, 8.6.4), implemented once per instruction set. They
// process one QMF slot at a time. Spectra are vectors of real and of imaginary parts, by hybrid band.
#pragma once

#include <cstddef>

#include "dsp/ipps_types.h"

namespace UMC {

// A bank of filters with a common complex input. For the output at time t, y[q] = sum over i from -6 to 6 of
// tap(q, i) * x[t - i], where tap(q, -i) is the conjugate of tap(q, i).
struct PsFilterBank {
  static constexpr int kReach = 6;
  static constexpr int kMaxFilters = 12;

  Ipp32s filters;  // a multiple of 4; filters beyond those in use output 0
  Ipp32f re[kReach + 1][kMaxFilters];
  Ipp32f im[kReach + 1][kMaxFilters];
};

inline constexpr int kPsAllPassLinks = 3;
// Maximum number of bands with all-pass filters, a multiple of the vector size.
inline constexpr int kPsAllPassBands = 56;

struct PsSpectrum {
  Ipp32f* re;
  Ipp32f* im;
};

// The constants of a bank of all-pass filters, one per band: the input is rotated by `phase`, then passed
// through links of H(z) = (rotation z^-d - feedback) / (1 - feedback rotation z^-d), where d is the link's
// delay.
struct PsAllPassBank {
  Ipp32s bands;  // a multiple of 4; all factors of bands beyond those in use are 0
  Ipp32f phase[2][kPsAllPassBands];
  Ipp32f rotation[kPsAllPassLinks][2][kPsAllPassBands];
  Ipp32f feedback[kPsAllPassLinks][kPsAllPassBands];
};

// The state of a bank's links for one slot: real, then imaginary parts.
using PsAllPassRow = Ipp32f[2][kPsAllPassBands];

// Running mixing coefficients, by hybrid band: left = h[0] s + h[2] d, right = h[1] s + h[3] d; the imaginary
// parts are h[4] to h[7].
inline constexpr int kPsHybridBands = 96;
struct PsMixer {
  Ipp32f h[8][kPsHybridBands];
  Ipp32f step[8][kPsHybridBands];  // added before every slot
};

// The state of the transient detector, by parameter band, and the vector size that its bands are rounded up
// to.
inline constexpr std::size_t kPsTransientStep = 16;
inline constexpr std::size_t kPsTransientBands = 48;
struct PsTransients {
  Ipp32f peak[kPsTransientBands];        // decaying
  Ipp32f power[kPsTransientBands];       // smoothed
  Ipp32f difference[kPsTransientBands];  // peak minus power, smoothed
};

struct PsKernels {
  // The outputs of a bank for the middle one of 13 complex samples in time order.
  void (*filter)(const PsFilterBank& bank, const Ipp32fc* samples, PsSpectrum out);
  // powers[i] = |in[i]|^2
  void (*power)(PsSpectrum in, Ipp32f* powers, std::size_t length);
  // Separates real and imaginary parts.
  void (*split)(const Ipp32fc* in, PsSpectrum out, std::size_t length);
  // One slot through a bank. `links` hold each link's state from its delay ago, and receive its new state.
  void (*allPass)(const PsAllPassBank& bank, PsSpectrum in, PsAllPassRow* const* links, PsSpectrum out);
  // The gains for a slot's powers by parameter band (8.6.4.5.3); `bands` is a multiple of kPsTransientStep.
  void (*transientGains)(PsTransients& state, const Ipp32f* powers, Ipp32f* gains, std::size_t bands);
  // Sets values to zero whose magnitudes are not between `smallest` and `largest`, and NaNs.
  void (*sweep)(Ipp32f* values, std::size_t length, Ipp32f smallest, Ipp32f largest);
  // Mixes bands `first` to `end` - 1 of `s` and of `d` times `gains`, with the mixer's next coefficients,
  // which are complex if `phases` is set.
  void (*mix)(PsMixer& mixer, bool phases, std::size_t first, std::size_t end, PsSpectrum s, PsSpectrum d,
              const Ipp32f* gains, Ipp32fc* left, Ipp32fc* right);
};

}  // namespace UMC
