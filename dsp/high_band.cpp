#include "dsp/high_band.h"

#include "dsp/kernels/kernels.h"

namespace UMC {

void ExtendPatch(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t source, std::size_t target,
                 std::size_t bands, const PatchFilter& filter) {
  ActiveKernels().extendPatch(rows, count, source, target, bands, filter);
}

void BandEnergies(const Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first,
                  std::size_t bands, Ipp32f* energies) {
  ActiveKernels().bandEnergies(rows, count, first, bands, energies);
}

void ShapeBands(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first, std::size_t bands,
                const Ipp32f* gains, const Ipp32f* noiseGains, const Ipp32fc* noise, std::size_t noiseStart) {
  ActiveKernels().shapeBands(rows, count, first, bands, gains, noiseGains, noise, noiseStart);
}

}  // namespace UMC
