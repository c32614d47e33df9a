#include "audio/umc/aac/synthesis.h"

#include <algorithm>

#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/layout_tracking.h"

namespace UMC::aac {

void SynthesiseChannels(LockedMemory& memory, float** samples) {
  DecoderState& state = memory.State();
  WorkArea& work = memory.Work();
  RawDataBlock& block = work.block;
  const FilterBank& bank = *SharedFilterBank(state.config.frameLength);
  ChannelStream* carried[kMaxChannels] = {};
  ForEachCarried(state, block, [&](int channel, int stream) { carried[channel] = &block.streams[stream]; });
  for (int channel = 0; channel < state.layout.channelCount; ++channel) {
    FilterBankState& history = state.channels[channel];
    WindowSequence sequence = WindowSequence::kOnlyLong;
    int shape = history.shape;
    float* spectrum = nullptr;
    if (const ChannelStream* stream = carried[channel]; stream != nullptr) {
      sequence = stream->ics.sequence;
      shape = stream->ics.shape;
      spectrum = carried[channel]->spectrum;
    } else {
      spectrum = block.streams[block.streamCount++].spectrum;
      std::fill_n(spectrum, state.config.frameLength, 0.0f);
    }
    SynthesiseFrame(bank, sequence, shape, history, work.scratch, spectrum);
    if (state.config.objectType == kObjectLtp) {
      UpdateLtp(spectrum, state.config.frameLength, memory.Predictions()->channels[channel].ltp);
    }
    samples[channel] = spectrum;
  }
}

float* SynthesiseCoupling(LockedMemory& memory, int index) {
  DecoderState& state = memory.State();
  WorkArea& work = memory.Work();
  const FilterBank& bank = *SharedFilterBank(state.config.frameLength);
  ChannelStream& source = work.block.streams[work.block.couplings[index].stream];
  SynthesiseFrame(bank, source.ics.sequence, source.ics.shape, state.couplings[index], work.scratch,
                  source.spectrum);
  if (state.config.objectType == kObjectLtp) {
    UpdateLtp(source.spectrum, state.config.frameLength, memory.Predictions()->couplings[index].ltp);
  }
  return source.spectrum;
}

}  // namespace UMC::aac
