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

// The layout's element that the block's element `index` is.
const LayoutElement& PlaceOf(const DecoderState& state, const RawDataBlock& block, int index) {
  return state.placedByProgram ? *FindElement(state.layout, block.elements[index])
                               : state.layout.elements[index];
}

// The output has twice the core's sampling frequency.
bool IsDoubled(const DecoderState& state) {
  const bool coreAskedFor = state.outputFrequency == state.frequency;
  return HasSbr(state) && state.options.sbrDownSampled == 0 && !coreAskedFor;
}

SbrFormat FormatOf(const DecoderState& state) {
  return {state.frequency, state.frameLength, !IsDoubled(state)};
}

int OutputLength(const DecoderState& state) {
  return IsDoubled(state) ? 2 * state.frameLength : state.frameLength;
}

// Turns the spectra of all channels of the layout into samples; `samples` receives where they are. What the
// block does not carry is silent.
void SynthesiseChannels(DecoderState& state, WorkArea& work, const FilterBank& bank, const float** samples) {
  RawDataBlock& block = work.block;
  const ChannelStream* carried[kMaxChannels] = {};
  for (int i = 0; i < block.elementCount; ++i) {
    const BlockElement& element = block.elements[i];
    const LayoutElement& place = PlaceOf(state, block, i);
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

// Adds the high bands; `samples` are those of the core and then of the output. `data` are the block's bytes.
void ReplicateBands(const DecoderState& state, const RawDataBlock& block, const std::uint8_t* data,
                    std::size_t size, SbrArea& sbr, const float** samples) {
  const SbrFormat format = FormatOf(state);
  SbrPayload payloads[kMaxChannels] = {};
  for (int i = 0; i < block.elementCount; ++i) {
    payloads[&PlaceOf(state, block, i) - state.layout.elements] = block.elements[i].sbr;
  }
  for (int i = 0; i < state.layout.elementCount; ++i) {
    const LayoutElement& element = state.layout.elements[i];
    const int count = ChannelsOf(element.type);
    SbrChannelState* channels = sbr.channels + element.firstChannel;
    BitWindow stream(data, size);
    const bool hasHighBand =
        ReadSbrPayload(format, stream, payloads[i], count, sbr.elements[i], channels, sbr.scratch);
    for (int c = 0; c < count; ++c) {
      const float*& signal = samples[element.firstChannel + c];
      float* output = sbr.output[element.firstChannel + c];
      AssembleSbrChannel(format, sbr.elements[i], hasHighBand, c, signal, channels[c], sbr.scratch);
      SynthesiseSbrChannel(format, channels[c], sbr.scratch, output);
      signal = output;
    }
  }
}

// Mixes the channels and interleaves them.
void WriteSamples(const DecoderState& state, WorkArea& work, const float* const* samples,
                  std::int16_t* output) {
  const auto length = static_cast<std::size_t>(OutputLength(state));
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

bool AdoptLayout(DecoderState& state, SbrArea& sbr, const RawDataBlock& block) {
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
    ForgetSignal(state, sbr);
    std::fill_n(sbr.elements, kMaxChannels, SbrElementState{});
    UpdateMix(state);
  }
  state.carriedChannels = std::max(state.carriedChannels, layout.channelCount + block.couplingCount);
  return layout.channelCount > 0;
}

void AdoptSbr(DecoderState& state, SbrArea& sbr, const RawDataBlock& block, const std::uint8_t* data,
              std::size_t size) {
  for (int i = 0; i < block.elementCount && !state.sbrSeen; ++i) {
    const BlockElement& element = block.elements[i];
    if (element.sbr.bits == 0) continue;
    BitWindow stream(data, size);
    state.sbrSeen = !state.formatKnown ||
                    StartsSbr(FormatOf(state), stream, element.sbr, ChannelsOf(element.type), sbr.scratch);
  }
}

void UpdateMix(DecoderState& state) {
  const int outputs = state.outputChannels != 0 ? state.outputChannels : state.layout.channelCount;
  if (outputs > 0) state.mix = MakeMixMatrix(state.layout, outputs);
}

void ForgetSignal(DecoderState& state, SbrArea& sbr) {
  std::fill_n(state.channels, kMaxChannels, FilterBankState{});
  std::fill_n(sbr.channels, kMaxChannels, SbrChannelState{});
  std::fill_n(state.couplings, kMaxCouplings, FilterBankState{});
}

bool HasSbr(const DecoderState& state) {
  return state.sbrSignalled || state.sbrSeen;
}

std::uint32_t OutputFrequency(const DecoderState& state) {
  return IsDoubled(state) ? 2 * state.frequency : state.frequency;
}

std::size_t RenderedBytes(const DecoderState& state) {
  return static_cast<std::size_t>(state.mix.outputs * OutputLength(state)) * sizeof(std::int16_t);
}

void RenderBlock(DecoderState& state, WorkArea& work, SbrArea& sbr, const std::uint8_t* data,
                 std::size_t size, std::int16_t* output) {
  const FilterBank& bank = *SharedFilterBank(state.frameLength);
  ApplySpectralTools(data, size, work.block);
  const float* samples[kMaxChannels];
  SynthesiseChannels(state, work, bank, samples);
  CoupleSignals(state, work, bank);
  if (HasSbr(state)) ReplicateBands(state, work.block, data, size, sbr, samples);
  WriteSamples(state, work, samples, output);
}

}  // namespace UMC::aac
