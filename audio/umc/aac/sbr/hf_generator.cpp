#include "audio/umc/aac/sbr/hf_generator.h"

#include <algorithm>

#include "dsp/high_band.h"

namespace UMC::aac {

void UpdateSbrChirp(const std::uint8_t* modes, int noiseBands, SbrChirp& chirp) {
  // By the modes of the last frame and of this one (table 4.176).
  constexpr float kFactors[4][4] = {{0.0f, 0.6f, 0.9f, 0.98f},
                                    {0.6f, 0.75f, 0.9f, 0.98f},
                                    {0.0f, 0.75f, 0.9f, 0.98f},
                                    {0.0f, 0.75f, 0.9f, 0.98f}};
  for (int i = 0; i < noiseBands; ++i) {
    const float last = chirp.factor[i];
    const float wanted = kFactors[chirp.mode[i]][modes[i]];
    const float smoothed =
        wanted < last ? 0.75f * wanted + 0.25f * last : 0.90625f * wanted + 0.09375f * last;
    chirp.factor[i] = smoothed < 0.015625f ? 0.0f : std::min(smoothed, 0.99609375f);
    chirp.mode[i] = modes[i];
  }
}

void GenerateSbrBand(const SbrFrequencyTables& tables, const SbrChirp& chirp, int slots, int first, int end,
                     Ipp32fc (*rows)[kQmfBands]) {
  Ipp32fc alpha0[kIppsSbrAnalysisBands], alpha1[kIppsSbrAnalysisBands];
  ippsPredictCoef_SBR_C_32fc_D2L(rows, static_cast<std::size_t>(slots + kSbrAheadSlots),
                                 static_cast<std::size_t>(tables.k0), alpha0, alpha1);
  PatchFilter filter;
  int target = tables.kx, noiseBand = 0;
  for (int i = 0; i < tables.patchCount; ++i) {
    const SbrPatch& patch = tables.patches[i];
    for (int band = 0; band < patch.count; ++band) {
      while (target + band >= tables.noise.borders[noiseBand + 1]) ++noiseBand;
      const float factor = chirp.factor[noiseBand];
      filter.first[0][target + band] = factor * alpha0[patch.source + band].re;
      filter.first[1][target + band] = factor * alpha0[patch.source + band].im;
      filter.second[0][target + band] = factor * factor * alpha1[patch.source + band].re;
      filter.second[1][target + band] = factor * factor * alpha1[patch.source + band].im;
    }
    ExtendPatch(rows + first, static_cast<std::size_t>(end - first), patch.source,
                static_cast<std::size_t>(target), patch.count, filter);
    target += patch.count;
  }
  // If a last patch was left out, there is nothing to copy to the subbands above.
  for (int slot = first; slot < end; ++slot) {
    std::fill(rows[slot + kSbrAdjustSlots] + target, rows[slot + kSbrAdjustSlots] + tables.kx + tables.m,
              Ipp32fc{});
  }
}

}  // namespace UMC::aac
