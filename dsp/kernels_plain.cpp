#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

#include "kernels.h"

#define VL_LANES_ATTR

namespace {

struct OneLane;
using WideLanes = OneLane;
using FourLanes = OneLane;

#include "kernels.inl"

}  // namespace

const Kernels& PlainKernels() {
  static constexpr Kernels kKernels = {MdctInverse, OverlapAdd, ScaleBands,   MulC,
                                       AddProductC, Butterfly,  Deinterleave, Join};
  return kKernels;
}
