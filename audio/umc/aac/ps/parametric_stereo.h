// Parametric stereo: two channels of one and the parameters that describe their difference (ISO/IEC 14496-3,
// subpart 8).
#pragma once

#include <cstdint>
#include <type_traits>

#include "audio/umc/aac/ps/data.h"
#include "audio/umc/aac/ps/decorrelator.h"
#include "audio/umc/aac/ps/hybrid.h"
#include "audio/umc/aac/ps/mixing.h"

namespace UMC::aac {

struct PsState {
  bool started;            // the first header has come
  bool wide;               // 34 bands
  std::uint32_t payloads;  // PsData::payloads at the last frame
  PsHybridState hybrid;
  PsDecorrelatorState decorrelator;
  PsMixingState mixing;
};
static_assert(std::is_trivially_copyable_v<PsState>);

// Room to work in.
struct PsScratch {
  PsHybridInput input;
  PsMixer mixer;
  float direct[2][kPsHybridBands];
  float decorrelated[2][kPsHybridBands];
  float powers[kPsHybridBands];
  float gains[kPsHybridBands];
  Ipp32fc split[2][kMaxPsSplitBands];
};
static_assert(std::is_trivially_copyable_v<PsScratch>);

// Makes a frame of two channels. `left` comes as the mono signal, `slots` (32 or 30) QMF slots and
// kPsLookAhead that follow, of which the bands from kMaxPsSplitQmfBands on do not count, and leaves as the
// left channel; `right` receives the other one, `slots` slots. Both are the mono signal ahead of the first
// header; without a payload since the last frame the parameters stay.
void ApplyParametricStereo(const PsData& data, PsState& state, PsScratch& scratch, int slots,
                           Ipp32fc (*left)[kIppsSbrBands], Ipp32fc (*right)[kIppsSbrBands]);

}  // namespace UMC::aac
