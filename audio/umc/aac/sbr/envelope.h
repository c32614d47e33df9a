// Envelopes and noise floors of a channel: transmitted values and dequantisation (ISO/IEC 14496-3, 4.4.2.8,
// 4.6.18.2.4 and 4.6.18.3.5).
#pragma once

#include <cstdint>

#include "audio/umc/aac/sbr/codebooks.h"
#include "audio/umc/aac/sbr/frequency_tables.h"
#include "audio/umc/aac/sbr/grid.h"
#include "base/bit_window.h"

namespace UMC::aac {

// As transmitted; converted by DecodeSbrDifferences to numbers of steps.
struct SbrEnvelopeData {
  bool ampRes;                              // this frame's: the header's unless overridden by the grid
  bool envelopeOverTime[kMaxSbrEnvelopes];  // bs_df_env
  bool noiseOverTime[kMaxSbrNoiseFloors];   // bs_df_noise
  std::int16_t envelope[kMaxSbrEnvelopes][kMaxSbrBands];
  std::int16_t noise[kMaxSbrNoiseFloors][kMaxSbrNoiseBands];
};

// The last envelope and noise floor of a frame, the reference of the next frame's differences.
struct SbrEnvelopeMemory {
  bool known;
  bool highResolution;
  std::int16_t envelope[kMaxSbrBands];
  std::int16_t noise[kMaxSbrNoiseBands];
};

// Energies by envelope and band, noise ratios by noise floor and band.
struct SbrLevels {
  float envelope[kMaxSbrEnvelopes][kMaxSbrBands];
  float noise[kMaxSbrNoiseFloors][kMaxSbrNoiseBands];
};

// sbr_envelope() and sbr_noise() of a channel; `balance` for the second channel of a coupled pair.
void ParseSbrEnvelopes(fmp4::BitWindow& stream, const SbrCodebooks& codebooks,
                       const SbrFrequencyTables& tables, const SbrGrid& grid, bool balance,
                       SbrEnvelopeData& data);
void ParseSbrNoise(fmp4::BitWindow& stream, const SbrCodebooks& codebooks, const SbrFrequencyTables& tables,
                   const SbrGrid& grid, bool balance, SbrEnvelopeData& data);

// Accumulates the differences in place and keeps the last values. False for values out of range, or for
// differences from a frame that is not known; the memory is then invalid.
bool DecodeSbrDifferences(const SbrFrequencyTables& tables, const SbrGrid& grid, bool balance,
                          SbrEnvelopeData& data, SbrEnvelopeMemory& memory);

void DequantiseSbr(const SbrFrequencyTables& tables, const SbrGrid& grid, const SbrEnvelopeData& data,
                   SbrLevels& levels);
// For a coupled pair, whose channels share one grid.
void DequantiseCoupledSbr(const SbrFrequencyTables& tables, const SbrGrid& grid, const SbrEnvelopeData& level,
                          const SbrEnvelopeData& balance, SbrLevels& left, SbrLevels& right);

}  // namespace UMC::aac
