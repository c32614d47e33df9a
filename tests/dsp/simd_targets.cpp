#include <hwy/highway.h>

#include "tests/dsp/kernel_sets.h"

std::vector<KernelSet> AllKernelSets() {
  std::vector<KernelSet> sets = {{"plain", &PlainKernels()}};
  for (const auto target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    if (const Kernels* kernels = SimdKernels()) sets.push_back({hwy::TargetName(target), kernels});
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  return sets;
}
