#include "dsp/ipps_fdp.h"

#include <bit>
#include <cmath>

namespace UMC {

namespace {

constexpr Ipp32f kAttenuation = 0.953125f;  // a and b
constexpr Ipp32f kForgetting = 0.90625f;    // alpha
constexpr Ipp16u kOne = 0x3F80;             // 1.0 in the state's format

Ipp32f Expand(Ipp16u value) {
  return std::bit_cast<Ipp32f>(static_cast<Ipp32u>(value) << 16);
}

Ipp16u Truncate(Ipp32f value) {
  return static_cast<Ipp16u>(std::bit_cast<Ipp32u>(value) >> 16);
}

// Rounds to 16 bits, halves away from zero.
Ipp32f Round(Ipp32f value) {
  return std::bit_cast<Ipp32f>((std::bit_cast<Ipp32u>(value) + 0x8000u) & 0xFFFF0000u);
}

// The lattice's coefficient; 0 while the signal is too weak to estimate it.
Ipp32f Coefficient(Ipp32f correlation, Ipp32f variance) {
  return variance > 1 ? correlation * Round(kAttenuation / variance) : 0;
}

void ResetLine(std::size_t line, IppsFDPState_32f& state) {
  state.r0[line] = state.r1[line] = 0;
  state.correlation1[line] = state.correlation2[line] = 0;
  state.variance1[line] = state.variance2[line] = kOne;
}

Ipp32f PredictLine(Ipp32f value, bool used, std::size_t line, IppsFDPState_32f& state) {
  const Ipp32f r0 = Expand(state.r0[line]), r1 = Expand(state.r1[line]);
  const Ipp32f correlation1 = Expand(state.correlation1[line]);
  const Ipp32f correlation2 = Expand(state.correlation2[line]);
  const Ipp32f variance1 = Expand(state.variance1[line]), variance2 = Expand(state.variance2[line]);
  const Ipp32f k1 = Coefficient(correlation1, variance1);
  const Ipp32f k2 = Coefficient(correlation2, variance2);

  const Ipp32f e0 = used ? value + Round(k1 * r0 + k2 * r1) : value;
  const Ipp32f e1 = e0 - k1 * r0;
  const Ipp32f newVariance1 = kForgetting * variance1 + 0.5f * (r0 * r0 + e0 * e0);
  const Ipp32f newVariance2 = kForgetting * variance2 + 0.5f * (r1 * r1 + e1 * e1);
  // Values that grow without bound, as in no valid stream, restart the predictor.
  if (!std::isfinite(newVariance1) || !std::isfinite(newVariance2)) {
    ResetLine(line, state);
    return e0;
  }
  state.variance1[line] = Truncate(newVariance1);
  state.variance2[line] = Truncate(newVariance2);
  state.correlation1[line] = Truncate(kForgetting * correlation1 + r0 * e0);
  state.correlation2[line] = Truncate(kForgetting * correlation2 + r1 * e1);
  state.r1[line] = Truncate(kAttenuation * (r0 - k1 * e0));
  state.r0[line] = Truncate(kAttenuation * e0);
  return e0;
}

}  // namespace

IppStatus ippsFDPInit_32f(IppsFDPState_32f* state) {
  return ippsFDPReset_32f(state);
}

IppStatus ippsFDPReset_32f(IppsFDPState_32f* state) {
  return ippsFDPResetLines_32f(0, kFdpLines, state);
}

IppStatus ippsFDPResetGroup_32f(std::size_t group, IppsFDPState_32f* state) {
  if (state == nullptr) return ippStsNullPtrErr;
  if (group < 1 || group > kFdpResetGroups) return ippStsSizeErr;
  for (std::size_t line = group - 1; line < kFdpLines; line += kFdpResetGroups) ResetLine(line, *state);
  return ippStsNoErr;
}

IppStatus ippsFDPResetLines_32f(std::size_t begin, std::size_t end, IppsFDPState_32f* state) {
  if (state == nullptr) return ippStsNullPtrErr;
  if (end > kFdpLines) return ippStsSizeErr;
  for (std::size_t line = begin; line < end; ++line) ResetLine(line, *state);
  return ippStsNoErr;
}

IppStatus ippsFDPInv_32f_I(Ipp32f* lines, const Ipp16u* offsets, std::size_t bands, std::uint64_t used,
                           IppsFDPState_32f* state) {
  if (lines == nullptr || offsets == nullptr || state == nullptr) return ippStsNullPtrErr;
  if (bands > 64 || offsets[bands] > kFdpLines) return ippStsSizeErr;
  for (std::size_t band = 0; band < bands; ++band) {
    const bool bandUsed = (used >> band & 1) != 0;
    for (std::size_t line = offsets[band]; line < offsets[band + 1]; ++line) {
      lines[line] = PredictLine(lines[line], bandUsed, line, *state);
    }
  }
  return ippStsNoErr;
}

}  // namespace UMC
