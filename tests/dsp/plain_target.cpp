#include "tests/dsp/kernel_sets.h"

std::vector<KernelSet> AllKernelSets() {
  return {{"plain", &PlainKernels()}};
}
