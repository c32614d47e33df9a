// The SBR frequency bands, derived from a header and the sampling frequency (ISO/IEC 14496-3, 4.6.18.3).
// Bands are given by their borders, as QMF subbands.
#pragma once

#include <cstdint>

#include "audio/umc/aac/sbr/header.h"

namespace UMC::aac {

inline constexpr int kQmfBands = 64;
inline constexpr int kMaxSbrBands = 48;  // per table: k2 - k0 is no larger
inline constexpr int kMaxSbrNoiseBands = 5;
// The standard allows 5 patches; its own test streams have 6.
inline constexpr int kMaxSbrPatches = 6;
inline constexpr int kMaxSbrLimiterBands = kMaxSbrBands / 2 + kMaxSbrPatches;

// The borders of up to kMaxBands bands, ascending.
template <int kMax>
struct SbrBands {
  std::uint8_t count;
  std::uint8_t borders[kMax + 1];
};

// A run of subbands that is copied upward.
struct SbrPatch {
  std::uint8_t source;  // lowest subband copied
  std::uint8_t count;
};

struct SbrFrequencyTables {
  int k0;  // first subband of the master table: patches copy from the subbands below
  int kx;  // first subband of the high band
  int m;   // number of subbands in the high band
  SbrBands<kMaxSbrBands> master;
  SbrBands<kMaxSbrBands> bands[2];  // envelope bands, by bs_freq_res: 0 low, 1 high resolution
  SbrBands<kMaxSbrNoiseBands> noise;
  SbrBands<kMaxSbrLimiterBands> limiter;
  int patchCount;
  SbrPatch patches[kMaxSbrPatches];
};

// Makes all tables for an SBR sampling frequency, twice that of the core. False for a header whose bands
// exceed the limits of 4.6.18.3.6; `tables` is then invalid.
bool MakeSbrFrequencyTables(const SbrHeader& header, std::uint32_t frequency, SbrFrequencyTables& tables);

// Remakes `tables.limiter` from the other tables.
void MakeSbrLimiterBands(int limiterBands, SbrFrequencyTables& tables);

}  // namespace UMC::aac
