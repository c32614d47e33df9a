#include "dsp/ipps_mdct.h"

#include <cmath>
#include <cstddef>
#include <numbers>

#include "dsp/fft_plan.h"
#include "dsp/kernels/kernels.h"

namespace UMC {

namespace {

// Splits the transform into its passes, without their constants. Returns the number of values in the plan, or
// 0 for an unsupported length.
std::size_t LayOut(Ipp32s length, MdctPlan& plan) {
  if (length < 16 || length % 16 != 0 || length > 65536) return 0;
  plan = {};
  plan.length = length;
  plan.points = length / 4;
  Ipp32s values = 0;
  plan.passCount = LayOutFftPasses(plan.points, 4 * plan.points, plan.passes, &values);
  return plan.passCount == 0 ? 0 : static_cast<std::size_t>(values);
}

IppStatus GetSize(Ipp32s length, Ipp32s* planBytes, Ipp32s* workBytes) {
  if (planBytes == nullptr || workBytes == nullptr) return ippStsNullPtrErr;
  MdctPlan plan;
  const std::size_t values = LayOut(length, plan);
  if (values == 0) return ippStsSizeErr;
  *planBytes = static_cast<Ipp32s>(sizeof plan + values * sizeof(Ipp32f));
  *workBytes = length * static_cast<Ipp32s>(sizeof(Ipp32f));
  return ippStsNoErr;
}

// Prepares a transform that multiplies by `scale`.
template <class Plan>
IppStatus Init(Plan** plan, Ipp32s length, double scale, Ipp8u* memory) {
  if (plan == nullptr || memory == nullptr) return ippStsNullPtrErr;
  auto* made = reinterpret_cast<Plan*>(memory);
  if (LayOut(length, *made) == 0) return ippStsSizeErr;

  auto* values = reinterpret_cast<Ipp32f*>(made + 1);
  for (Ipp32s k = 0; k < made->points; ++k) {
    const double angle = 2 * std::numbers::pi * (k + 0.125) / length;
    values[k] = static_cast<Ipp32f>(scale * std::cos(angle));
    values[k + made->points] = static_cast<Ipp32f>(scale * std::sin(angle));
    values[k + 2 * made->points] = static_cast<Ipp32f>(std::cos(angle));
    values[k + 3 * made->points] = static_cast<Ipp32f>(std::sin(angle));
  }
  for (Ipp32s i = 0; i < made->passCount; ++i) FillTwiddles(made->passes[i], values);
  *plan = made;
  return ippStsNoErr;
}

}  // namespace

IppStatus ippsMDCTInvGetSize_32f(Ipp32s length, Ipp32s* planBytes, Ipp32s* workBytes) {
  return GetSize(length, planBytes, workBytes);
}

IppStatus ippsMDCTInvInit_32f(IppsMDCTInvSpec_32f** plan, Ipp32s length, Ipp8u* memory) {
  return Init(plan, length, 2.0 / length, memory);
}

IppStatus ippsMDCTInv_32f(const Ipp32f* source, Ipp32f* destination, const IppsMDCTInvSpec_32f* plan,
                          Ipp8u* work) {
  if (source == nullptr || destination == nullptr || plan == nullptr || work == nullptr) {
    return ippStsNullPtrErr;
  }
  ActiveKernels().mdctInverse(*plan, source, destination, reinterpret_cast<Ipp32f*>(work));
  return ippStsNoErr;
}

IppStatus ippsMDCTInvOverlap_32f(const Ipp32f* source, const Ipp32f* rise, Ipp32f* tail, Ipp32f* destination,
                                 const IppsMDCTInvSpec_32f* plan, Ipp8u* work) {
  if (source == nullptr || rise == nullptr || tail == nullptr || destination == nullptr || plan == nullptr ||
      work == nullptr) {
    return ippStsNullPtrErr;
  }
  ActiveKernels().mdctOverlap(*plan, source, rise, tail, destination, reinterpret_cast<Ipp32f*>(work));
  return ippStsNoErr;
}

IppStatus ippsMDCTFwdGetSize_32f(Ipp32s length, Ipp32s* planBytes, Ipp32s* workBytes) {
  return GetSize(length, planBytes, workBytes);
}

IppStatus ippsMDCTFwdInit_32f(IppsMDCTFwdSpec_32f** plan, Ipp32s length, Ipp8u* memory) {
  return Init(plan, length, 2.0, memory);
}

IppStatus ippsMDCTFwd_32f(const Ipp32f* source, Ipp32f* destination, const IppsMDCTFwdSpec_32f* plan,
                          Ipp8u* work) {
  if (source == nullptr || destination == nullptr || plan == nullptr || work == nullptr) {
    return ippStsNullPtrErr;
  }
  ActiveKernels().mdctForward(*plan, source, destination, reinterpret_cast<Ipp32f*>(work));
  return ippStsNoErr;
}

}  // namespace UMC
