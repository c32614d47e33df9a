#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

#include "dsp/kernels/kernels.h"
#include "dsp/qmf_plan.h"

#define VL_LANES_ATTR
#define VL_LANES_INLINE inline

namespace UMC {
namespace {

struct OneLane;
using WideLanes = OneLane;
using FourLanes = OneLane;

#include "dsp/kernels/kernels.inl"
#include "dsp/kernels/ps_kernels.inl"
#include "dsp/kernels/sbr_kernels.inl"

}  // namespace

const Kernels& PlainKernels() {
  static constexpr Kernels kKernels = {
      MdctInverse, MdctOverlap,  MdctForward,   OverlapAdd,  ScaleBands,   MulC,      Mul,
      AddProduct,  Limit,        AddProductC,   Butterfly,   Deinterleave, Join,      ScaleByExponents,
      QmfAnalysis, QmfSynthesis, SumCovariance, FilterPatch, SumEnergies,  ShapeRows, kPsKernels};
  return kKernels;
}

}  // namespace UMC
