#include "tests/dsp/kernel_sets.h"

namespace fmp4 {

using namespace UMC;

std::vector<KernelSet> AllKernelSets() {
  constexpr const char* kNames[] = {"baseline", "SSSE3", "SSE4", "AVX2", "AVX-512", "AVX-512 CLMUL"};
  std::vector<KernelSet> sets = {{"plain", &PlainKernels()}};
  for (int set = 0; set <= static_cast<int>(processorInstructionSet()); ++set) {
    const Kernels* const kernels = SimdKernels(static_cast<InstructionSet>(set));
    // A set without a build of its own has that of the one before.
    if (kernels != nullptr && kernels != sets.back().kernels) sets.push_back({kNames[set], kernels});
  }
  return sets;
}

}  // namespace fmp4
