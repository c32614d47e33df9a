// The high band's raw signal: copies of the low band's subbands, whitened by linear prediction (ISO/IEC
// 14496-3, 4.6.18.6).
#pragma once

#include <cstdint>

#include "audio/umc/aac/sbr/frequency_tables.h"
#include "dsp/ipps_sbr.h"

namespace UMC::aac {

// A channel's inverse filtering, by noise band.
struct SbrChirp {
  std::uint8_t mode[kMaxSbrNoiseBands];  // bs_invf_mode of the last frame
  float factor[kMaxSbrNoiseBands];       // bwArray
};

// Slots in X_low before a frame (T_HFGen), and of these the slots before its output (T_HFAdj).
inline constexpr int kSbrOldSlots = 8;
inline constexpr int kSbrAdjustSlots = 2;
// Slots that may be generated past a frame's end; also the delay of its output.
inline constexpr int kSbrAheadSlots = kSbrOldSlots - kSbrAdjustSlots;
inline constexpr int kSbrRows = kSbrOldSlots + kIppsSbrSlots;

// Adopts a frame's modes.
void UpdateSbrChirp(const std::uint8_t* modes, int noiseBands, SbrChirp& chirp);

// Generates the subbands from tables.kx on from the subbands below, in output slots `first` to `end` - 1 of a
// frame of `slots` slots. Output slot i is rows[i + kSbrAdjustSlots].
void GenerateSbrBand(const SbrFrequencyTables& tables, const SbrChirp& chirp, int slots, int first, int end,
                     Ipp32fc (*rows)[kQmfBands]);

}  // namespace UMC::aac
