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

// Turns the spectra of all channels of the layout into samples; `samples` receives where they are. What the
// block does not carry is silent.
void SynthesiseChannels(DecoderState& state, WorkArea& work, const FilterBank& bank, const float** samples) {
  RawDataBlock& block = work.block;
  const ChannelStream* carried[kMaxChannels] = {};
  for (int i = 0; i < block.elementCount; ++i) {
    const BlockElement& element = block.elements[i];
    const LayoutElement& place =
        state.placedByProgram ? *FindElement(state.layout, element) : state.layout.elements[i];
    const int channels = ChannelsOf(element.type);
    for (int c = 0; c < channels; ++c) carried[place.firstChannel + c] = &block.streams[element.stream + c];
  }
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
    ForEachCoupled(block, i, [&](const float* gains, ChannelStream& target) {
      ippsAddProductC_32f(source.spectrum, gains[0], target.spectrum,
                          static_cast<std::size_t>(state.frameLength));
    });
  }
  for (int i = block.couplingCount; i < state.couplingsInUse; ++i) state.couplings[i] = {};
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
}

std::size_t RenderedBytes(const DecoderState& state) {
  return static_cast<std::size_t>(state.mix.outputs * state.frameLength) * sizeof(std::int16_t);
}

void RenderBlock(DecoderState& state, WorkArea& work, const std::uint8_t* data, std::size_t size,
                 std::int16_t* output) {
  const FilterBank& bank = *SharedFilterBank(state.frameLength);
  ApplySpectralTools(data, size, work.block);
  const float* samples[kMaxChannels];
  SynthesiseChannels(state, work, bank, samples);
  CoupleSignals(state, work, bank);
  WriteSamples(state, work, samples, output);
}

}  // namespace UMC::aac
