#include "audio/umc/aac/time_coupling.h"

#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/layout_tracking.h"
#include "audio/umc/aac/output_format.h"
#include "audio/umc/aac/predictions.h"
#include "audio/umc/aac/sbr_stage.h"
#include "audio/umc/aac/synthesis.h"
#include "dsp/ipps_vector.h"

namespace UMC::aac {

namespace {

// Makes the signal of an independently switched coupling channel, in the output's sampling frequency.
const float* MakeCoupledSignal(LockedMemory& memory, int index) {
  float* samples = SynthesiseCoupling(memory, index);
  return HasSbr(memory.State()) ? SbrStage(memory).PassCoupling(index, samples) : samples;
}

// Adds the signals of the block's coupling channels to those of their targets.
void AddSignals(LockedMemory& memory, float* const* samples) {
  const DecoderState& state = memory.State();
  RawDataBlock& block = memory.Work().block;
  const auto length = static_cast<std::size_t>(OutputLength(state));
  float* targets[kMaxStreams];
  ForEachCarried(state, block, [&](int channel, int stream) { targets[stream] = samples[channel]; });
  for (int i = 0; i < block.couplingCount; ++i) {
    if (block.couplings[i].point != CouplingPoint::kTimeSignal) continue;
    const float* signal = MakeCoupledSignal(memory, i);
    ForEachCoupled(block, i, [&](const float* gains, ChannelStream& target) {
      ippsAddProductC_32f(signal, gains[0], targets[&target - block.streams], length);
      if (HasParametricStereo(state)) ippsAddProductC_32f(signal, gains[0], samples[1], length);
    });
  }
}

// Resets the coupling channels from index `first` on, which the block does not have.
void ResetCouplings(LockedMemory& memory, int first) {
  DecoderState& state = memory.State();
  for (int i = first; i < state.couplingsInUse; ++i) {
    state.couplings[i] = {};
    if (memory.Sbr() != nullptr) memory.Sbr()->couplings[i] = {};
    if (memory.Predictions() != nullptr) {
      ResetPrediction(state.config.objectType, memory.Predictions()->couplings[i]);
    }
  }
}

}  // namespace

void AddCoupledSignals(LockedMemory& memory, float* const* samples) {
  const int count = memory.Work().block.couplingCount;
  if (count > 0) AddSignals(memory, samples);
  ResetCouplings(memory, count);
  memory.State().couplingsInUse = count;
}

}  // namespace UMC::aac
