#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

#include "kernels.h"
#include "qmf_plan.h"

#define VL_LANES_ATTR
#define VL_LANES_INLINE inline

namespace {

struct OneLane;
using WideLanes = OneLane;
using FourLanes = OneLane;

#include "kernels.inl"
#include "ps_kernels.inl"
#include "sbr_kernels.inl"

}  // namespace

const Kernels& PlainKernels() {
  static constexpr Kernels kKernels = {
      MdctInverse,      MdctForward, OverlapAdd,   ScaleBands,    MulC,         Mul,
      AddProduct,       Limit,       AddProductC,  Butterfly,     Deinterleave, Join,
      ScaleByExponents, QmfAnalysis, QmfSynthesis, SumCovariance, FilterPatch,  SumEnergies,
      ShapeRows,        kPsKernels};
  return kKernels;
}
