// The loops over QMF samples that generate and adjust the SBR high band (ISO/IEC 14496-3, 4.6.18.6 and
// 4.6.18.7). Samples are stored as rows[slot][subband].
#pragma once

#include <cstddef>

#include "dsp/ipps_sbr.h"

namespace UMC {

// The coefficients of the filter x[n] + first x[n - 1] + second x[n - 2], by target subband; real and
// imaginary parts are stored separately.
struct PatchFilter {
  Ipp32f first[2][kIppsSbrBands];
  Ipp32f second[2][kIppsSbrBands];
};

// The period of the noise, a power of two, and how many values from its start are repeated after it.
inline constexpr std::size_t kNoisePeriod = 512;
inline constexpr std::size_t kNoiseRepeat = kIppsSbrBands;

// Filters the subbands from `source` upward into those from `target` upward, in rows[2] to rows[count + 1];
// the two rows before hold the preceding samples. Sources are below targets.
void ExtendPatch(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t source, std::size_t target,
                 std::size_t bands, const PatchFilter& filter);

// energies[i] = the squared magnitude of subband first + i, summed over `count` rows.
void BandEnergies(const Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first,
                  std::size_t bands, Ipp32f* energies);

// Scales subband first + i by gains[i] and adds noise scaled by noiseGains[i]. noise[noiseStart] goes to
// subband `first` of row 0; the noise continues over subbands, then rows, with its period. `noise` has
// kNoisePeriod + kNoiseRepeat values.
void ShapeBands(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first, std::size_t bands,
                const Ipp32f* gains, const Ipp32f* noiseGains, const Ipp32fc* noise, std::size_t noiseStart);

}  // namespace UMC
