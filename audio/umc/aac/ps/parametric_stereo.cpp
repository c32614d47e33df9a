#include "audio/umc/aac/ps/parametric_stereo.h"

#include <algorithm>

#include "dsp/kernels/kernels.h"

namespace UMC::aac {

namespace {

// Whether a payload requires 34 bands; a payload without parameters leaves this unchanged.
bool WantsWide(const PsData& data, bool before) {
  if (!data.iidEnabled && !data.iccEnabled) return before;
  const auto isWide = [](bool enabled, int mode) {
    return enabled && PsResolutionOf(mode).bands == kMaxPsBands;
  };
  return isWide(data.iidEnabled, data.iidMode) || isWide(data.iccEnabled, data.iccMode);
}

// Switches between the configurations when a payload requires it.
void AdoptConfiguration(const PsData& data, PsState& state) {
  const bool wide = WantsWide(data, state.wide);
  if (!state.started) {
    StartMixing(state.mixing);
    state.started = true;
  } else if (wide != state.wide) {
    ConvertMixing(SharedPsTables().Of(state.wide), SharedPsTables().Of(wide), state.mixing);
    state.decorrelator = {};
  }
  state.wide = wide;
}

// Mixes the slots [first, end) to stereo.
void MixSlots(const PsConfiguration& configuration, bool phases, int first, int end, PsState& state,
              PsScratch& scratch, Ipp32fc (*left)[kIppsSbrBands], Ipp32fc (*right)[kIppsSbrBands]) {
  const PsKernels& kernels = ActiveKernels().ps;
  const PsSpectrum direct = {scratch.direct[0], scratch.direct[1]};
  const PsSpectrum decorrelated = {scratch.decorrelated[0], scratch.decorrelated[1]};
  const auto split = static_cast<std::size_t>(configuration.splitBands);
  const auto all = static_cast<std::size_t>(configuration.hybridBands);
  const int splitQmf = configuration.splitQmfBands;
  for (int slot = first; slot < end; ++slot) {
    AnalyseHybrid(configuration, scratch.input, slot, left[slot], direct);
    Decorrelate(configuration, state.decorrelator, direct, decorrelated, scratch.powers, scratch.gains);
    kernels.mix(scratch.mixer, phases, 0, split, direct, decorrelated, scratch.gains, scratch.split[0],
                scratch.split[1]);
    SynthesiseHybrid(configuration, scratch.split[0], left[slot]);
    SynthesiseHybrid(configuration, scratch.split[1], right[slot]);
    kernels.mix(scratch.mixer, phases, split, all, direct, decorrelated, scratch.gains, left[slot] + splitQmf,
                right[slot] + splitQmf);
  }
}

}  // namespace

void ApplyParametricStereo(const PsData& data, PsState& state, PsScratch& scratch, int slots,
                           Ipp32fc (*left)[kIppsSbrBands], Ipp32fc (*right)[kIppsSbrBands]) {
  GatherPsInput(left, slots, state.hybrid, scratch.input);
  if (!data.headerSeen) {
    for (int slot = 0; slot < slots; ++slot) std::copy_n(left[slot], kIppsSbrBands, right[slot]);
    return;
  }
  const bool newData = !state.started || data.payloads != state.payloads;
  if (newData) AdoptConfiguration(data, state);
  state.payloads = data.payloads;
  const PsConfiguration& configuration = SharedPsTables().Of(state.wide);
  if (newData) {
    int first = 0;
    for (int i = 0; i < data.envelopeCount; ++i) {
      const int end = data.envelopes[i].border + 1;
      const bool phases =
          AimMixer(configuration, data, data.envelopes[i], end - first, state.mixing, scratch.mixer);
      MixSlots(configuration, phases, first, end, state, scratch, left, right);
      first = end;
    }
  } else {
    const bool phases = HoldMixer(configuration, state.mixing, scratch.mixer);
    MixSlots(configuration, phases, 0, slots, state, scratch, left, right);
  }
  SweepDecorrelator(state.decorrelator);
}

}  // namespace UMC::aac
