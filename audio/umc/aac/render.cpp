#include "render.h"

#include <algorithm>

#include "ipps_vector.h"

namespace UMC::aac {

namespace {

const LayoutElement* FindElement(const Layout& layout, const BlockElement& element) {
  const LayoutElement* end = layout.elements + layout.elementCount;
  const LayoutElement* found = std::find_if(layout.elements, end, [&](const LayoutElement& other) {
    return other.type == element.type && other.tag == element.tag;
  });
  return found == end ? nullptr : found;
}

// True when every element of the block is in the layout, none of them twice.
bool HasAllElements(const Layout& layout, const RawDataBlock& block) {
  unsigned seen = 0;
  for (int i = 0; i < block.elementCount; ++i) {
    const LayoutElement* element = FindElement(layout, block.elements[i]);
    if (element == nullptr) return false;
    const unsigned bit = 1u << (element - layout.elements);
    if ((seen & bit) != 0) return false;
    seen |= bit;
  }
  return true;
}

void ForgetPrediction(int objectType, PredictionMemory& memory) {
  if (objectType == kObjectMain) ippsFDPReset_32f(&memory.prediction);
  if (objectType == kObjectLtp) memory.ltp = {};
}

// Calls visit(channel of the layout, index of its stream) for every channel that the block carries.
template <class Visit>
void ForEachCarried(const DecoderState& state, const RawDataBlock& block, Visit visit) {
  for (int i = 0; i < block.elementCount; ++i) {
    const BlockElement& element = block.elements[i];
    const LayoutElement& place =
        state.placedByProgram ? *FindElement(state.layout, element) : state.layout.elements[i];
    for (int c = 0; c < ChannelsOf(element.type); ++c) visit(place.firstChannel + c, element.stream + c);
  }
}

// The memory of every stream of the block.
void FindPasts(DecoderState& state, const RawDataBlock& block, ChannelPast* pasts) {
  const auto past = [&](const FilterBankState& overlap, PredictionMemory& memory) {
    return ChannelPast{&overlap, state.objectType == kObjectMain ? &memory.prediction : nullptr,
                       state.objectType == kObjectLtp ? &memory.ltp : nullptr};
  };
  ForEachCarried(state, block, [&](int channel, int stream) {
    pasts[stream] = past(state.channels[channel], state.predictions[channel]);
  });
  for (int i = 0; i < block.couplingCount; ++i) {
    pasts[block.couplings[i].stream] = past(state.couplings[i], state.predictions[kMaxChannels + i]);
  }
}

// Turns the spectra of all channels of the layout into samples; `samples` receives where they are. What the
// block does not carry is silent.
void SynthesiseChannels(DecoderState& state, WorkArea& work, const FilterBank& bank, const float** samples) {
  RawDataBlock& block = work.block;
  const ChannelStream* carried[kMaxChannels] = {};
  ForEachCarried(state, block, [&](int channel, int stream) { carried[channel] = &block.streams[stream]; });
  for (int channel = 0; channel < state.layout.channelCount; ++channel) {
    WindowSequence sequence = WindowSequence::kOnlyLong;
    int shape = state.channels[channel].shape;
    float* spectrum = nullptr;
    if (carried[channel] != nullptr) {
      ChannelStream& stream = block.streams[carried[channel] - block.streams];
      sequence = stream.ics.sequence;
      shape = stream.ics.shape;
      spectrum = stream.spectrum;
    } else {
      spectrum = block.streams[block.streamCount++].spectrum;
      std::fill_n(spectrum, state.frameLength, 0.0f);
    }
    SynthesiseFrame(bank, sequence, shape, state.channels[channel], work.scratch, spectrum);
    if (state.objectType == kObjectLtp)
      UpdateLtp(spectrum, state.frameLength, state.predictions[channel].ltp);
    samples[channel] = spectrum;
  }
}

// Adds the signals of independently switched coupling channels.
void CoupleSignals(DecoderState& state, WorkArea& work, const FilterBank& bank) {
  RawDataBlock& block = work.block;
  for (int i = 0; i < block.couplingCount; ++i) {
    const Coupling& coupling = block.couplings[i];
    if (coupling.point != CouplingPoint::kTimeSignal) continue;
    ChannelStream& source = block.streams[coupling.stream];
    SynthesiseFrame(bank, source.ics.sequence, source.ics.shape, state.couplings[i], work.scratch,
                    source.spectrum);
    if (state.objectType == kObjectLtp) {
      UpdateLtp(source.spectrum, state.frameLength, state.predictions[kMaxChannels + i].ltp);
    }
    ForEachCoupled(block, i, [&](const float* gains, ChannelStream& target) {
      ippsAddProductC_32f(source.spectrum, gains[0], target.spectrum,
                          static_cast<std::size_t>(state.frameLength));
    });
  }
  for (int i = block.couplingCount; i < state.couplingsInUse; ++i) {
    state.couplings[i] = {};
    ForgetPrediction(state.objectType, state.predictions[kMaxChannels + i]);
  }
  state.couplingsInUse = block.couplingCount;
}

// Mixes the channels and interleaves them.
void WriteSamples(const DecoderState& state, WorkArea& work, const float* const* samples,
                  std::int16_t* output) {
  const auto length = static_cast<std::size_t>(state.frameLength);
  const float* outputs[kMaxChannels];
  for (int i = 0; i < state.mix.outputs; ++i) {
    const float* gains = state.mix.gains[i];
    const float* end = gains + state.layout.channelCount;
    const float* first = std::find_if(gains, end, [](float gain) { return gain != 0; });
    const bool alone =
        first != end && *first == 1 && std::all_of(first + 1, end, [](float gain) { return gain == 0; });
    if (alone) {
      outputs[i] = samples[first - gains];
      continue;
    }
    outputs[i] = work.mixed[i];
    std::fill_n(work.mixed[i], length, 0.0f);
    for (const float* gain = first; gain != end; ++gain) {
      if (*gain != 0) ippsAddProductC_32f(samples[gain - gains], *gain, work.mixed[i], length);
    }
  }
  ippsJoin_32f16s_D2L(outputs, static_cast<std::size_t>(state.mix.outputs), length, output);
}

}  // namespace

bool AdoptLayout(DecoderState& state, const RawDataBlock& block) {
  if (block.hasProgram) state.program = LayoutOfProgram(block.program);
  Layout layout = state.layout;
  state.placedByProgram = state.program.channelCount > 0 && HasAllElements(state.program, block);
  if (state.placedByProgram) {
    layout = state.program;
  } else if (block.elementCount > 0) {
    ElementType types[kMaxChannels];
    for (int i = 0; i < block.elementCount; ++i) types[i] = block.elements[i].type;
    layout = LayoutOfElements(types, block.elementCount);
  }
  if (layout != state.layout) {
    state.layout = layout;
    state.carriedChannels = layout.channelCount;
    ForgetSignal(state);
    UpdateMix(state);
  }
  state.carriedChannels = std::max(state.carriedChannels, layout.channelCount + block.couplingCount);
  return layout.channelCount > 0;
}

void UpdateMix(DecoderState& state) {
  const int outputs = state.outputChannels != 0 ? state.outputChannels : state.layout.channelCount;
  if (outputs > 0) state.mix = MakeMixMatrix(state.layout, outputs);
}

void ForgetSignal(DecoderState& state) {
  std::fill_n(state.channels, kMaxChannels, FilterBankState{});
  std::fill_n(state.couplings, kMaxCouplings, FilterBankState{});
  for (PredictionMemory& memory : state.predictions) ForgetPrediction(state.objectType, memory);
}

std::size_t RenderedBytes(const DecoderState& state) {
  return static_cast<std::size_t>(state.mix.outputs * state.frameLength) * sizeof(std::int16_t);
}

void RenderBlock(DecoderState& state, WorkArea& work, const std::uint8_t* data, std::size_t size,
                 std::int16_t* output) {
  const FilterBank& bank = *SharedFilterBank(state.frameLength);
  ChannelPast pasts[kMaxStreams];
  FindPasts(state, work.block, pasts);
  ApplySpectralTools(data, size, bank, pasts, work.scratch, work.block);
  const float* samples[kMaxChannels];
  SynthesiseChannels(state, work, bank, samples);
  CoupleSignals(state, work, bank);
  WriteSamples(state, work, samples, output);
}

}  // namespace UMC::aac
