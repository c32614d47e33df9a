// Adjusts the high band: envelope, noise and sinusoids (ISO/IEC 14496-3, 4.6.18.7).
#pragma once

#include <cstdint>

#include "audio/umc/aac/sbr/data.h"
#include "audio/umc/aac/sbr/envelope.h"
#include "audio/umc/aac/sbr/frequency_tables.h"
#include "audio/umc/aac/sbr/header.h"
#include "dsp/ipps_sbr.h"

namespace UMC::aac {

// Number of previous slots used in smoothing (h_SL).
inline constexpr int kSbrSmoothedSlots = 4;

// Gains for one slot, by subband from kx on.
struct SbrGains {
  float signal[kQmfBands];
  float noise[kQmfBands];
};

// A channel's adjuster state between frames.
struct SbrAdjusterState {
  bool gainsKnown;
  SbrGains gains[kSbrSmoothedSlots];  // gains of the last slots, latest first
  bool sinusoids[kQmfBands];          // subbands with a sinusoid at the end of the last frame
  bool endsInTransient;               // see SbrGrid
  std::uint16_t noiseIndex;
  std::uint8_t sineIndex;
};

// Adjusts a frame's generated high band in place; rows as in GenerateSbrBand.
void AdjustSbrBand(const SbrHeader& header, const SbrFrequencyTables& tables, const SbrChannelData& data,
                   const SbrLevels& levels, SbrAdjusterState& state, Ipp32fc (*rows)[kQmfBands]);

// Sets noise and sinusoids to their phases `slots` slots after the track's start. The phases are periodic, so
// that the number may wrap.
void SetSbrPhase(const SbrFrequencyTables& tables, std::uint64_t slots, SbrAdjusterState& state);

// Skips a frame whose high band cannot be adjusted: noise and sinusoids stay in phase.
void SkipSbrBand(const SbrFrequencyTables& tables, const SbrGrid& grid, SbrAdjusterState& state);

}  // namespace UMC::aac
