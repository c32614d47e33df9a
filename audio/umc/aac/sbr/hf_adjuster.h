// Gives the high band its envelope, noise and sinusoids (ISO/IEC 14496-3, 4.6.18.7).
#pragma once

#include <cstdint>

#include "audio/umc/aac/sbr/data.h"
#include "audio/umc/aac/sbr/envelope.h"
#include "audio/umc/aac/sbr/frequency_tables.h"
#include "audio/umc/aac/sbr/header.h"
#include "dsp/ipps_sbr.h"

namespace UMC::aac {

// Slots that smoothing reaches back (h_SL).
inline constexpr int kSbrSmoothedSlots = 4;

// Factors of one slot, by subband from kx on.
struct SbrGains {
  float signal[kQmfBands];
  float noise[kQmfBands];
};

// A channel's memory from frame to frame.
struct SbrAdjusterState {
  bool gainsKnown;
  SbrGains gains[kSbrSmoothedSlots];  // of the last slots, the latest first
  bool sinusoids[kQmfBands];          // subbands that ended the last frame with a sinusoid
  bool endsInTransient;               // see SbrGrid
  std::uint16_t noiseIndex;
  std::uint8_t sineIndex;
};

// Shapes a frame's generated band in place; rows as GenerateSbrBand leaves them.
void AdjustSbrBand(const SbrHeader& header, const SbrFrequencyTables& tables, const SbrChannelData& data,
                   const SbrLevels& levels, SbrAdjusterState& state, Ipp32fc (*rows)[kQmfBands]);

// Puts noise and sinusoids where they are so many slots after the track's start. They repeat, so that the
// number may wrap.
void PlaceSbrBand(const SbrFrequencyTables& tables, std::uint64_t slots, SbrAdjusterState& state);

// Goes on to the next frame from one whose band cannot be shaped: noise and sinusoids stay in step.
void SkipSbrBand(const SbrFrequencyTables& tables, const SbrGrid& grid, SbrAdjusterState& state);

}  // namespace UMC::aac
