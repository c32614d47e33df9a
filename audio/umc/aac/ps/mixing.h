// The mixing of the direct and the decorrelated signal (ISO/IEC 14496-3, 8.6.4.6.2 to 8.6.4.6.4).
#pragma once

#include "audio/umc/aac/ps/data.h"
#include "audio/umc/aac/ps/tables.h"

namespace UMC::aac {

// The coefficients of PsMixer by parameter band, at the end of the last envelope.
struct PsCoefficients {
  float h[8][kMaxPsBands];
};

struct PsMixingState {
  PsCoefficients last;
  // Phases of the last two envelopes with phases, latest first: overall phases and phase differences, in
  // eighths of a turn.
  std::int8_t opd[2][kMaxPsPhaseBands];
  std::int8_t ipd[2][kMaxPsPhaseBands];
};

// Before the first parameters, both channels are the direct signal.
void StartMixing(PsMixingState& state);

// Converts the state to the other configuration.
void ConvertMixing(const PsConfiguration& from, const PsConfiguration& to, PsMixingState& state);

// Sets `mixer` to interpolate from the last envelope's coefficients to those of `envelope` over `slots`
// slots, and keeps the latter. Returns whether any of the interpolated coefficients is complex.
bool AimMixer(const PsConfiguration& configuration, const PsData& data, const PsEnvelope& envelope, int slots,
              PsMixingState& state, PsMixer& mixer);

// Sets `mixer` to hold the last envelope's coefficients. Returns whether any of them is complex.
bool HoldMixer(const PsConfiguration& configuration, const PsMixingState& state, PsMixer& mixer);

}  // namespace UMC::aac
