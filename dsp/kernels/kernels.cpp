#include "dsp/kernels/kernels.h"

#if !defined(VL_DSP_SIMD)
const Kernels* SimdKernels() {
  return nullptr;
}
#endif

const Kernels& ActiveKernels() {
  static const Kernels& active = SimdKernels() != nullptr ? *SimdKernels() : PlainKernels();
  return active;
}
