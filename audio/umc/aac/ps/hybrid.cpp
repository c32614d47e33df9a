#include "audio/umc/aac/ps/hybrid.h"

#include <algorithm>

#include "dsp/kernels/kernels.h"

namespace UMC::aac {

void GatherPsInput(const Ipp32fc (*qmf)[kIppsSbrBands], int slots, PsHybridState& state,
                   PsHybridInput& input) {
  for (int band = 0; band < kMaxPsSplitQmfBands; ++band) {
    Ipp32fc* samples = std::copy_n(state.past[band], kPsLookAhead, input.samples[band]);
    for (int slot = 0; slot < slots + kPsLookAhead; ++slot) samples[slot] = qmf[slot][band];
    std::copy_n(input.samples[band] + slots, kPsLookAhead, state.past[band]);
  }
}

void AnalyseHybrid(const PsConfiguration& configuration, const PsHybridInput& input, int slot,
                   const Ipp32fc* qmf, PsSpectrum hybrid) {
  const PsKernels& kernels = ActiveKernels().ps;
  // In ascending order: values written past a bank's active filters are overwritten by the next.
  for (int band = 0; band < configuration.splitQmfBands; ++band) {
    const int first = configuration.firstOf[band];
    kernels.filter(configuration.filters[band], input.samples[band] + slot,
                   {hybrid.re + first, hybrid.im + first});
  }
  const int split = configuration.splitBands;
  kernels.split(qmf + configuration.splitQmfBands, {hybrid.re + split, hybrid.im + split},
                static_cast<std::size_t>(kIppsSbrBands - configuration.splitQmfBands));
}

void SynthesiseHybrid(const PsConfiguration& configuration, const Ipp32fc* hybrid, Ipp32fc* qmf) {
  for (int band = 0; band < configuration.splitQmfBands; ++band) {
    Ipp32fc sum = {0, 0};
    for (int k = configuration.firstOf[band]; k < configuration.firstOf[band + 1]; ++k) {
      sum.re += hybrid[k].re;
      sum.im += hybrid[k].im;
    }
    qmf[band] = sum;
  }
}

}  // namespace UMC::aac
