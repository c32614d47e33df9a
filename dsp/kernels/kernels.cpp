#include "dsp/kernels/kernels.h"

#if !defined(VL_SIMD)
const Kernels* SimdKernels(InstructionSet) {
  return nullptr;
}
#endif

const Kernels& ActiveKernels() {
  static const Kernels* const simd = SimdKernels(ProcessorInstructionSet());
  return simd != nullptr ? *simd : PlainKernels();
}
