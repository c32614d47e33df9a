// Envelopes and noise floors of a channel: what is sent of them, and what it stands for (ISO/IEC 14496-3,
// 4.4.2.8, 4.6.18.2.4 and 4.6.18.3.5).
#pragma once

#include <cstdint>

#include "audio/umc/aac/sbr/codebooks.h"
#include "audio/umc/aac/sbr/frequency_tables.h"
#include "audio/umc/aac/sbr/grid.h"
#include "base/bit_window.h"

namespace UMC::aac {

// As sent, then by DecodeSbrDifferences as numbers of steps.
struct SbrEnvelopeData {
  bool ampRes;                              // of this frame: the header's unless the grid overrides it
  bool envelopeOverTime[kMaxSbrEnvelopes];  // bs_df_env
  bool noiseOverTime[kMaxSbrNoiseFloors];   // bs_df_noise
  std::int16_t envelope[kMaxSbrEnvelopes][kMaxSbrBands];
  std::int16_t noise[kMaxSbrNoiseFloors][kMaxSbrNoiseBands];
};

// The last envelope and noise floor of a frame, to which the next one's differences refer.
struct SbrEnvelopeMemory {
  bool known;
  bool highResolution;
  std::int16_t envelope[kMaxSbrBands];
  std::int16_t noise[kMaxSbrNoiseBands];
};

// Energies by envelope and band, ratios of noise by noise floor and band.
struct SbrLevels {
  float envelope[kMaxSbrEnvelopes][kMaxSbrBands];
  float noise[kMaxSbrNoiseFloors][kMaxSbrNoiseBands];
};

// sbr_envelope() and sbr_noise() of a channel; `balance` for the second of a coupled pair.
void ParseSbrEnvelopes(BitWindow& stream, const SbrCodebooks& codebooks, const SbrFrequencyTables& tables,
                       const SbrGrid& grid, bool balance, SbrEnvelopeData& data);
void ParseSbrNoise(BitWindow& stream, const SbrCodebooks& codebooks, const SbrFrequencyTables& tables,
                   const SbrGrid& grid, bool balance, SbrEnvelopeData& data);

// Adds up the differences in place and keeps the last ones. False for values out of range, or for ones that
// refer to a frame that is not known; the memory is then without meaning.
bool DecodeSbrDifferences(const SbrFrequencyTables& tables, const SbrGrid& grid, bool balance,
                          SbrEnvelopeData& data, SbrEnvelopeMemory& memory);

void DequantiseSbr(const SbrFrequencyTables& tables, const SbrGrid& grid, const SbrEnvelopeData& data,
                   SbrLevels& levels);
// For a coupled pair, which has one grid.
void DequantiseCoupledSbr(const SbrFrequencyTables& tables, const SbrGrid& grid, const SbrEnvelopeData& level,
                          const SbrEnvelopeData& balance, SbrLevels& left, SbrLevels& right);

}  // namespace UMC::aac
