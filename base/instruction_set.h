// The instruction sets that code is built for with Highway, and those that this processor has. Highway's own
// dispatch is not used: its library calibrates a timer when it is loaded, which takes longer than all else
// that a host loads with the plug-in.
#pragma once

#include <cstddef>

namespace fmp4 {

// Each set includes the ones before it.
enum class InstructionSet {
  Baseline,  // what every processor of the architecture has
  Ssse3,
  Sse4,         // with carry-less multiplication and AES
  Avx2,         // with bit manipulation and fused multiplication and addition
  Avx512,       // F, VL, DQ, BW
  Avx512Clmul,  // with carry-less multiplication of whole vectors, VBMI, VBMI2, BITALG and VPOPCNTDQ
};

// The last set that this processor and its operating system support.
InstructionSet processorInstructionSet();

// Initialises an array with the builds of `function` by instruction set; null: there is none for that set.
// To be used after <hwy/highway.h>, once, in the namespace that holds those of the targets.
#define VL_BUILDS_BY_INSTRUCTION_SET(function)                                             \
  {                                                                                        \
    &HWY_STATIC_DISPATCH(function), HWY_CHOOSE_SSSE3(function), HWY_CHOOSE_SSE4(function), \
        HWY_CHOOSE_AVX2(function), HWY_CHOOSE_AVX3(function), HWY_CHOOSE_AVX3_DL(function) \
  }

// The build for `set`, or else for the last set before it that has one.
template <class Function, std::size_t count>
Function buildFor(InstructionSet set, Function const (&builds)[count]) {
  auto index = static_cast<std::size_t>(set);
  while (builds[index] == nullptr) --index;
  return builds[index];
}

}  // namespace fmp4
