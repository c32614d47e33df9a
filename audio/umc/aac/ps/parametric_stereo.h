// Parametric stereo: two channels from one and parameters that describe their difference (ISO/IEC 14496-3,
// subpart 8).
#pragma once

#include <cstdint>
#include <type_traits>

#include "audio/umc/aac/ps/data.h"
#include "audio/umc/aac/ps/decorrelator.h"
#include "audio/umc/aac/ps/hybrid.h"
#include "audio/umc/aac/ps/mixing.h"
#include "dsp/ipps_memory.h"

namespace UMC::aac {

struct PsState {
  bool started;            // the first header has been received
  bool wide;               // 34 bands
  std::uint32_t payloads;  // PsData::payloads at the last frame
  PsHybridState hybrid;
  PsDecorrelatorState decorrelator;
  PsMixingState mixing;
};
static_assert(std::is_trivially_copyable_v<PsState>);

// Work area.
struct PsScratch {
  PsHybridInput input;
  alignas(kIppsAlignment) PsMixer mixer;
  alignas(kIppsAlignment) float direct[2][kPsHybridBands];
  alignas(kIppsAlignment) float decorrelated[2][kPsHybridBands];
  alignas(kIppsAlignment) float powers[kPsHybridBands];
  alignas(kIppsAlignment) float gains[kPsHybridBands];
  alignas(kIppsAlignment) Ipp32fc split[2][kMaxPsSplitBands];
};
static_assert(std::is_trivially_copyable_v<PsScratch>);

// Expands a frame to two channels. On input `left` is the mono signal: `slots` (32 or 30) QMF slots, then
// kPsLookAhead more, in which the bands from kMaxPsSplitQmfBands on are ignored. On output it is the left
// channel, and `right` the right channel, `slots` slots each. Before the first header both are the mono
// signal; without a new payload since the last frame the parameters are unchanged.
void ApplyParametricStereo(const PsData& data, PsState& state, PsScratch& scratch, int slots,
                           Ipp32fc (*left)[kIppsSbrBands], Ipp32fc (*right)[kIppsSbrBands]);

}  // namespace UMC::aac
