#include "dsp/block_float.h"

#include "dsp/kernels/kernels.h"

namespace UMC {

void ApplyExponents(const Ipp32f* mantissas, const Ipp8u* exponents, const Ipp8u* bits,
                    const NoiseSource& noise, Ipp32f* destination, std::size_t length) {
  ActiveKernels().applyExponents(mantissas, exponents, bits, noise, destination, length);
}

}  // namespace UMC
