// The kernels of every instruction set that this machine can run.
#pragma once

#include <string>
#include <vector>

#include "dsp/kernels/kernels.h"

namespace fmp4 {

using namespace UMC;

struct KernelSet {
  std::string name;
  const Kernels* kernels;
};

// The plain kernels first, then one set per vector instruction set.
std::vector<KernelSet> AllKernelSets();

}  // namespace fmp4
