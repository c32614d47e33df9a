// The loops over QMF samples that make and shape the replicated band (ISO/IEC 14496-3, 4.6.18.6 and
// 4.6.18.7). Samples lie as rows[slot][subband].
#pragma once

#include <cstddef>

#include "dsp/ipps_sbr.h"

// The coefficients of a filter x[n] + first x[n - 1] + second x[n - 2], by target subband; real and imaginary
// parts apart.
struct PatchFilter {
  Ipp32f first[2][kIppsSbrBands];
  Ipp32f second[2][kIppsSbrBands];
};

// The period of the noise, a power of two, and how much of its start follows once more behind it.
inline constexpr std::size_t kNoisePeriod = 512;
inline constexpr std::size_t kNoiseRepeat = kIppsSbrBands;

// Filters subbands `source` and on into `target` and on, in rows[2] to rows[count + 1]; the two rows ahead
// hold the samples before. Sources lie below targets.
void ExtendPatch(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t source, std::size_t target,
                 std::size_t bands, const PatchFilter& filter);

// energies[i] = the sum over `count` rows of the squared magnitude of subband first + i.
void BandEnergies(const Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first,
                  std::size_t bands, Ipp32f* energies);

// Scales subband first + i by gains[i] and adds noise scaled by noiseGains[i]: that of row 0, subband `first`
// is noise[noiseStart], and it goes on over subbands and rows with the noise's period. `noise` has
// kNoisePeriod + kNoiseRepeat values.
void ShapeBands(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first, std::size_t bands,
                const Ipp32f* gains, const Ipp32f* noiseGains, const Ipp32fc* noise, std::size_t noiseStart);
