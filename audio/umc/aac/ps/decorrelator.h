// The decorrelated signal: all-pass filters and delays, attenuated at transients (ISO/IEC 14496-3, 8.6.4.5).
#pragma once

#include "audio/umc/aac/ps/tables.h"

namespace UMC::aac {

// Delays in slots: of the all-pass bands before their links, of each link, and of the other bands.
inline constexpr int kPsAllPassDelay = 2;
inline constexpr int kPsLinkDelays[kPsAllPassLinks] = {3, 4, 5};
inline constexpr int kPsLongDelay = 14;
inline constexpr int kPsLongDelayBands = 12;
inline constexpr int kPsShortDelayBands = 29;

// All delay lines are ring buffers, indexed by slot.
struct PsDecorrelatorState {
  std::uint32_t slot;  // modulo the least common multiple of all delays
  PsAllPassRow waiting[kPsAllPassDelay];
  PsAllPassRow links[3 + 4 + 5];
  float longDelay[kPsLongDelay][2][kPsLongDelayBands];
  float shortDelay[2][kPsShortDelayBands];
  PsTransients transients;
};

// Makes the decorrelated signal of a slot, and the gains that attenuate it at transients. `powers` is a
// buffer for one value per hybrid band, like `gains`.
void Decorrelate(const PsConfiguration& configuration, PsDecorrelatorState& state, PsSpectrum in,
                 PsSpectrum out, float* powers, float* gains);

// Flushes decayed values to zero, so that silence is no slower to process than other signals, and NaNs, so
// that they do not persist.
void SweepDecorrelator(PsDecorrelatorState& state);

}  // namespace UMC::aac
