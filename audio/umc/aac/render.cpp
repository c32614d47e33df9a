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

void ForgetPrediction(int objectType, PredictionMemory& memory) {
  if (objectType == kObjectMain) StartPrediction(memory.prediction);
  if (objectType == kObjectLtp) memory.ltp = {};
}

// Calls visit(channel of the layout, index of its stream) for every channel that the block carries.
template <class Visit>
void ForEachCarried(const DecoderState& state, const RawDataBlock& block, Visit visit) {
  for (int i = 0; i < block.elementCount; ++i) {
    const BlockElement& element = block.elements[i];
    const LayoutElement& place = PlaceOf(state, block, i);
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

// No channel is predicted from what was ahead of the start of its signal.
bool ArePredictionsSettled(const DecoderState& state) {
  const auto settled = [&](const PredictionMemory& memory) {
    if (state.objectType == kObjectMain) return memory.prediction.settled;
    return state.objectType != kObjectLtp || memory.ltp.unpredicted == kLtpFading;
  };
  const PredictionMemory* couplings = state.predictions + kMaxChannels;
  return std::all_of(state.predictions, state.predictions + state.layout.channelCount, settled) &&
         std::all_of(couplings, couplings + state.couplingsInUse, settled);
}

bool IsMono(const Layout& layout) {
  return layout.elementCount == 1 && layout.elements[0].type == ElementType::kSingle;
}

// One channel becomes two: from the first data of parametric stereo on, unless one is asked for.
bool HasParametricStereo(const DecoderState& state) {
  return state.psSeen && state.outputChannels != 1 && IsMono(state.layout);
}

// The channels that are mixed.
Layout RenderedLayout(const DecoderState& state) {
  return HasParametricStereo(state) ? LayoutOfConfiguration(2) : state.layout;
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
void SynthesiseChannels(DecoderState& state, WorkArea& work, const FilterBank& bank, float** samples) {
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

// Blocks in a row that were decoded with nothing missing, after which what was decoded before has faded from
// all filters and factors that feed back.
constexpr int kFadingBlocks = 16;

// Reads the parametric stereo that ReadSbrPayload has found in the element of a mono layout. False while it
// rests on payloads that were not seen.
bool ReadPsPayload(DecoderState& state, BitWindow& stream, SbrArea& sbr) {
  const SbrData& data = sbr.scratch.data;
  if (data.psBits > 0) {
    stream.Seek(data.psPosition);
    const int slots = state.frameLength / kIppsSbrAnalysisBands;
    if (ParsePsData(stream, data.psBits, slots, sbr.psData) && !state.psSeen) {
      state.psSeen = true;
      UpdateMix(state);
    }
  }
  return (data.psBits == 0 && !state.psSeen) || state.outputChannels == 1 || sbr.psData.Known();
}

// Adds an element's high band; `samples` are those of the core by channel, and then of the output. Returns
// whether nothing was missing that came before.
bool ReplicateBand(DecoderState& state, int index, const SbrPayload& payload, BitWindow stream, SbrArea& sbr,
                   float** samples) {
  const SbrFormat format = FormatOf(state);
  const LayoutElement& place = state.layout.elements[index];
  const int count = ChannelsOf(place.type);
  SbrElementState& element = sbr.elements[index];
  SbrChannelState* channels = sbr.channels + place.firstChannel;
  const bool hasHighBand = ReadSbrPayload(format, stream, payload, count, element, channels, sbr.scratch);
  bool complete = IsSbrComplete(element, payload.bits, hasHighBand);
  if (hasHighBand && IsMono(state.layout)) complete &= ReadPsPayload(state, stream, sbr);
  if (HasParametricStereo(state)) {
    DecodeSbrStereo(format, element, hasHighBand, samples[0], sbr.psData, sbr.ps, channels, sbr.scratch,
                    sbr.output[0], sbr.output[1]);
    samples[0] = sbr.output[0];
    samples[1] = sbr.output[1];
    return complete;
  }
  for (int c = 0; c < count; ++c) {
    const int channel = place.firstChannel + c;
    DecodeSbrChannel(format, element, hasHighBand, c, samples[channel], channels[c], sbr.scratch,
                     sbr.output[channel]);
    samples[channel] = sbr.output[channel];
  }
  return complete;
}

// Adds the high bands. `data` are the block's bytes.
void ReplicateBands(DecoderState& state, const RawDataBlock& block, const std::uint8_t* data,
                    std::size_t size, SbrArea& sbr, float** samples) {
  for (int i = 0; i < state.layout.channelCount; ++i) {
    ippsLimit_32f_I(kSampleLimit, samples[i], static_cast<std::size_t>(state.frameLength));
  }
  SbrPayload payloads[kMaxChannels] = {};
  for (int i = 0; i < block.elementCount; ++i) {
    payloads[&PlaceOf(state, block, i) - state.layout.elements] = block.elements[i].sbr;
  }
  bool complete = ArePredictionsSettled(state);
  for (int i = 0; i < state.layout.elementCount; ++i) {
    complete &= ReplicateBand(state, i, payloads[i], BitWindow(data, size), sbr, samples);
  }
  sbr.completeBlocks = complete ? std::min(sbr.completeBlocks + 1, kFadingBlocks) : 0;
}

// Makes the signal of an independently switched coupling channel. Where there is spectral band replication it
// passes the filter banks as the channels do, but has no high band of its own.
const float* MakeCoupledSignal(DecoderState& state, WorkArea& work, const FilterBank& bank, SbrArea& sbr,
                               int index) {
  ChannelStream& source = work.block.streams[work.block.couplings[index].stream];
  SynthesiseFrame(bank, source.ics.sequence, source.ics.shape, state.couplings[index], work.scratch,
                  source.spectrum);
  if (state.objectType == kObjectLtp) {
    UpdateLtp(source.spectrum, state.frameLength, state.predictions[kMaxChannels + index].ltp);
  }
  if (!HasSbr(state)) return source.spectrum;
  ippsLimit_32f_I(kSampleLimit, source.spectrum, static_cast<std::size_t>(state.frameLength));
  DecodeSbrChannel(FormatOf(state), SbrElementState{}, false, 0, source.spectrum, sbr.couplings[index],
                   sbr.scratch, sbr.coupled);
  return sbr.coupled;
}

// Adds the signals of independently switched coupling channels to those of the output.
void CoupleSignals(DecoderState& state, WorkArea& work, const FilterBank& bank, SbrArea& sbr,
                   float* const* samples) {
  RawDataBlock& block = work.block;
  const auto length = static_cast<std::size_t>(OutputLength(state));
  float* targets[kMaxStreams];
  ForEachCarried(state, block, [&](int channel, int stream) { targets[stream] = samples[channel]; });
  for (int i = 0; i < block.couplingCount; ++i) {
    if (block.couplings[i].point != CouplingPoint::kTimeSignal) continue;
    const float* signal = MakeCoupledSignal(state, work, bank, sbr, i);
    ForEachCoupled(block, i, [&](const float* gains, ChannelStream& target) {
      ippsAddProductC_32f(signal, gains[0], targets[&target - block.streams], length);
      if (HasParametricStereo(state)) ippsAddProductC_32f(signal, gains[0], samples[1], length);
    });
  }
  for (int i = block.couplingCount; i < state.couplingsInUse; ++i) {
    state.couplings[i] = {};
    sbr.couplings[i] = {};
    ForgetPrediction(state.objectType, state.predictions[kMaxChannels + i]);
  }
  state.couplingsInUse = block.couplingCount;
}

// Mixes the channels and interleaves them.
void WriteSamples(const DecoderState& state, WorkArea& work, const float* const* samples,
                  std::int16_t* output) {
  const auto length = static_cast<std::size_t>(OutputLength(state));
  const int channels = RenderedLayout(state).channelCount;
  const float* outputs[kMaxChannels];
  for (int i = 0; i < state.mix.outputs; ++i) {
    const float* gains = state.mix.gains[i];
    const float* end = gains + channels;
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
  const Layout layout = RenderedLayout(state);
  const int outputs = state.outputChannels != 0 ? state.outputChannels : layout.channelCount;
  if (outputs > 0) state.mix = MakeMixMatrix(layout, outputs);
}

void ForgetSignal(DecoderState& state, SbrArea& sbr) {
  std::fill_n(state.channels, kMaxChannels, FilterBankState{});
  std::fill_n(sbr.channels, kMaxChannels, SbrChannelState{});
  std::fill_n(sbr.couplings, kMaxCouplings, SbrChannelState{});
  sbr.psData = {};
  sbr.ps = {};
  for (SbrElementState& element : sbr.elements) ForgetSbrProgress(element);
  sbr.completeBlocks = 0;
  std::fill_n(state.couplings, kMaxCouplings, FilterBankState{});
  ForgetPredictions(state);
}

void ForgetPredictions(DecoderState& state) {
  for (PredictionMemory& memory : state.predictions) ForgetPrediction(state.objectType, memory);
}

bool IsSettled(const DecoderState& state, const SbrArea& sbr) {
  return HasSbr(state) ? sbr.completeBlocks >= kFadingBlocks : ArePredictionsSettled(state);
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

std::size_t LargestRenderedBytes(const DecoderState& state, const RawDataBlock& block) {
  const bool mayWiden = state.outputChannels == 0 && !state.psSeen && IsMono(state.layout) &&
                        block.elementCount == 1 && block.elements[0].sbr.bits > 0;
  return RenderedBytes(state) * (mayWiden ? 2 : 1);
}

void RenderBlock(DecoderState& state, WorkArea& work, SbrArea& sbr, const std::uint8_t* data,
                 std::size_t size, std::int16_t* output) {
  const FilterBank& bank = *SharedFilterBank(state.frameLength);
  ChannelPast pasts[kMaxStreams];
  FindPasts(state, work.block, pasts);
  ApplySpectralTools(data, size, bank, pasts, work.scratch, work.block);
  float* samples[kMaxChannels];
  SynthesiseChannels(state, work, bank, samples);
  if (HasSbr(state)) ReplicateBands(state, work.block, data, size, sbr, samples);
  CoupleSignals(state, work, bank, sbr, samples);
  WriteSamples(state, work, samples, output);
}

}  // namespace UMC::aac
