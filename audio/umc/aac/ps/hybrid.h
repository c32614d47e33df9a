// The hybrid filter banks: the lowest QMF bands split further (ISO/IEC 14496-3, 8.6.4.3).
#pragma once

#include "audio/umc/aac/ps/tables.h"
#include "dsp/ipps_types.h"

namespace UMC::aac {

// Slots behind the current one that its hybrid bands depend on.
inline constexpr int kPsLookAhead = PsFilterBank::kReach;

// The last slots of the frame before, of the bands that may be split.
struct PsHybridState {
  Ipp32fc past[kMaxPsSplitQmfBands][kPsLookAhead];
};

// The bands that may be split, each in the order of time.
struct PsHybridInput {
  Ipp32fc samples[kMaxPsSplitQmfBands][kPsLookAhead + kIppsSbrSlots + kPsLookAhead];
};

// Gathers the input of a frame of `slots` QMF slots, which kPsLookAhead others follow, ahead of the slots of
// the frame before, and keeps what the next frame needs.
void GatherPsInput(const Ipp32fc (*qmf)[kIppsSbrBands], int slots, PsHybridState& state,
                   PsHybridInput& input);

// One slot in hybrid bands. `qmf` is that slot in QMF bands.
void AnalyseHybrid(const PsConfiguration& configuration, const PsHybridInput& input, int slot,
                   const Ipp32fc* qmf, PsSpectrum hybrid);

// Back to a slot of QMF bands, of those that are split: `hybrid` holds the hybrid bands these became.
void SynthesiseHybrid(const PsConfiguration& configuration, const Ipp32fc* hybrid, Ipp32fc* qmf);

}  // namespace UMC::aac
