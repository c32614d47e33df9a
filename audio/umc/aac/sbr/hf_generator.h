// The high band's raw signal: copies of the low band's subbands, whitened by linear prediction (ISO/IEC
// 14496-3, 4.6.18.6).
#pragma once

#include <cstdint>

#include "audio/umc/aac/sbr/frequency_tables.h"
#include "dsp/ipps_sbr.h"

namespace UMC::aac {

// A channel's whitening, by noise band.
struct SbrChirp {
  std::uint8_t mode[kMaxSbrNoiseBands];  // bs_invf_mode of the last frame
  float factor[kMaxSbrNoiseBands];       // bwArray
};

// Slots that X_low holds ahead of a frame (T_HFGen), and of those the ones ahead of its output (T_HFAdj).
inline constexpr int kSbrOldSlots = 8;
inline constexpr int kSbrAdjustSlots = 2;
// Slots that a frame may generate beyond its end, and that its output is late.
inline constexpr int kSbrAheadSlots = kSbrOldSlots - kSbrAdjustSlots;
inline constexpr int kSbrRows = kSbrOldSlots + kIppsSbrSlots;

// Takes over a frame's modes.
void UpdateSbrChirp(const std::uint8_t* modes, int noiseBands, SbrChirp& chirp);

// Generates the bands from tables.kx on, in output slots `first` to `end` - 1 of a frame of `slots` slots,
// from those below. Output slot i is rows[i + kSbrAdjustSlots].
void GenerateSbrBand(const SbrFrequencyTables& tables, const SbrChirp& chirp, int slots, int first, int end,
                     Ipp32fc (*rows)[kQmfBands]);

}  // namespace UMC::aac
