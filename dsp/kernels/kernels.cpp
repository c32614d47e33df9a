#include "dsp/kernels/kernels.h"

namespace UMC {

#if !defined(VL_SIMD)
const Kernels* SimdKernels(fmp4::InstructionSet) {
  return nullptr;
}
#endif

const Kernels& ActiveKernels() {
  static const Kernels* const simd = SimdKernels(fmp4::processorInstructionSet());
  return simd != nullptr ? *simd : PlainKernels();
}

}  // namespace UMC
