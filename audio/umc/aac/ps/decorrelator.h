// The decorrelated signal: all-pass filters and delays, held back where transients are (ISO/IEC 14496-3,
// 8.6.4.5).
#pragma once

#include "audio/umc/aac/ps/tables.h"

namespace UMC::aac {

// Delays in slots: of the all-pass bands ahead of their links, of each link, and of the other bands.
inline constexpr int kPsAllPassDelay = 2;
inline constexpr int kPsLinkDelays[kPsAllPassLinks] = {3, 4, 5};
inline constexpr int kPsLongDelay = 14;
inline constexpr int kPsLongDelayBands = 12;
inline constexpr int kPsShortDelayBands = 29;

// All delay lines are rings: what a slot leaves in one is where a later slot finds it.
struct PsDecorrelatorState {
  std::uint32_t slot;  // modulo the least common multiple of all delays
  PsAllPassRow waiting[kPsAllPassDelay];
  PsAllPassRow links[3 + 4 + 5];
  float longDelay[kPsLongDelay][2][kPsLongDelayBands];
  float shortDelay[2][kPsShortDelayBands];
  // By parameter band.
  float peak[kMaxPsBands];
  float power[kMaxPsBands];       // smoothed
  float difference[kMaxPsBands];  // of peak and power, smoothed
};

// Makes the decorrelated signal of a slot, and the gains that reduce it where there is a transient. `powers`
// is room for as many values as there are hybrid bands, like `gains`.
void Decorrelate(const PsConfiguration& configuration, PsDecorrelatorState& state, PsSpectrum in,
                 PsSpectrum out, float* powers, float* gains);

// Clears what has died away, so that silence costs no more than sound, and what is no number, so that it does
// not stay.
void SweepDecorrelator(PsDecorrelatorState& state);

}  // namespace UMC::aac
