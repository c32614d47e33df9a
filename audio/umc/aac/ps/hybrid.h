// The hybrid filter banks, which split the lowest QMF bands further (ISO/IEC 14496-3, 8.6.4.3).
#pragma once

#include "audio/umc/aac/ps/tables.h"
#include "dsp/ipps_types.h"

namespace UMC::aac {

// Slots after the current one on which its hybrid bands depend.
inline constexpr int kPsLookAhead = PsFilterBank::kReach;

// The last slots of the previous frame, in the bands that may be split.
struct PsHybridState {
  Ipp32fc past[kMaxPsSplitQmfBands][kPsLookAhead];
};

// The bands that may be split, each in time order.
struct PsHybridInput {
  Ipp32fc samples[kMaxPsSplitQmfBands][kPsLookAhead + kIppsSbrSlots + kPsLookAhead];
};

// Gathers the input of a frame of `slots` QMF slots and the kPsLookAhead slots after it, preceded by slots of
// the previous frame, and keeps what the next frame needs.
void GatherPsInput(const Ipp32fc (*qmf)[kIppsSbrBands], int slots, PsHybridState& state,
                   PsHybridInput& input);

// Splits one slot into hybrid bands. `qmf` is the same slot in QMF bands.
void AnalyseHybrid(const PsConfiguration& configuration, const PsHybridInput& input, int slot,
                   const Ipp32fc* qmf, PsSpectrum hybrid);

// Recombines the split QMF bands of a slot from their hybrid bands in `hybrid`.
void SynthesiseHybrid(const PsConfiguration& configuration, const Ipp32fc* hybrid, Ipp32fc* qmf);

}  // namespace UMC::aac
