#include "audio/umc/aac/render.h"

#include <algorithm>

#include "audio/umc/aac/sbr/sbr_decoder.h"
#include "dsp/ipps_vector.h"

namespace UMC::aac {

namespace {

const LayoutElement* FindElement(const Layout& layout, const BlockElement& element) {
  const LayoutElement* end = layout.elements + layout.elementCount;
  const LayoutElement* found = std::find_if(layout.elements, end, [&](const LayoutElement& other) {
    return other.type == element.type && other.tag == element.tag;
  });
  return found == end ? nullptr : found;
}

// True if the block has elements and each of them is in the layout exactly once.
bool HasAllElements(const Layout& layout, const RawDataBlock& block) {
  unsigned seen = 0;
  for (int i = 0; i < block.elementCount; ++i) {
    const LayoutElement* element = FindElement(layout, block.elements[i]);
    if (element == nullptr) return false;
    const unsigned bit = 1u << (element - layout.elements);
    if ((seen & bit) != 0) return false;
    seen |= bit;
  }
  return seen != 0;
}

// The layout's element that corresponds to the block's element `index`.
const LayoutElement& PlaceOf(const DecoderState& state, const RawDataBlock& block, int index) {
  return state.placedByProgram ? *FindElement(state.layout, block.elements[index])
                               : state.layout.elements[index];
}

// Whether blocks are predicted from earlier ones.
bool IsPredictive(int objectType) {
  return objectType == kObjectMain || objectType == kObjectLtp;
}

void ResetPrediction(int objectType, PredictionMemory& memory) {
  if (objectType == kObjectMain) StartPrediction(memory.prediction);
  if (objectType == kObjectLtp) memory.ltp = {};
}

void ResetPredictions(int objectType, PredictionArea& area) {
  for (PredictionMemory& memory : area.channels) ResetPrediction(objectType, memory);
  for (PredictionMemory& memory : area.couplings) ResetPrediction(objectType, memory);
}

// Resets the overlap into the next block and all other channel state.
void ResetChannels(LockedMemory& memory) {
  DecoderState& state = memory.State();
  std::fill_n(state.channels, kMaxChannels, FilterBankState{});
  std::fill_n(state.couplings, kMaxCouplings, FilterBankState{});
  if (memory.Predictions() != nullptr) ResetPredictions(state.config.objectType, *memory.Predictions());
  if (memory.Sbr() != nullptr) ResetSbr(*memory.Sbr());
}

// Calls visit(channel of the layout, index of its stream) for every channel in the block.
template <class Visit>
void ForEachCarried(const DecoderState& state, const RawDataBlock& block, Visit visit) {
  for (int i = 0; i < block.elementCount; ++i) {
    const BlockElement& element = block.elements[i];
    const LayoutElement& place = PlaceOf(state, block, i);
    for (int c = 0; c < ChannelsOf(element.type); ++c) visit(place.firstChannel + c, element.stream + c);
  }
}

// Finds the history of every stream in the block. `area` is for predictive object types.
void FindHistories(DecoderState& state, const RawDataBlock& block, PredictionArea* area,
                   ChannelHistory* pasts) {
  const int type = state.config.objectType;
  const auto setHistory = [&](int stream, const FilterBankState& overlap, PredictionMemory* memory) {
    pasts[stream] = {&overlap, type == kObjectMain ? &memory->prediction : nullptr,
                     type == kObjectLtp ? &memory->ltp : nullptr};
  };
  const bool predictive = IsPredictive(type);
  ForEachCarried(state, block, [&](int channel, int stream) {
    setHistory(stream, state.channels[channel], predictive ? &area->channels[channel] : nullptr);
  });
  for (int i = 0; i < block.couplingCount; ++i) {
    setHistory(block.couplings[i].stream, state.couplings[i], predictive ? &area->couplings[i] : nullptr);
  }
}

// Whether no channel's prediction depends on anything before the start of its signal.
bool ArePredictionsConverged(const DecoderState& state, const PredictionArea* area) {
  if (!IsPredictive(state.config.objectType)) return true;
  const auto settled = [&](const PredictionMemory& memory) {
    return state.config.objectType == kObjectMain ? memory.prediction.settled
                                                  : memory.ltp.unpredicted == kLtpConvergenceFrames;
  };
  return std::all_of(area->channels, area->channels + state.layout.channelCount, settled) &&
         std::all_of(area->couplings, area->couplings + state.couplingsInUse, settled);
}

bool IsMono(const Layout& layout) {
  return layout.elementCount == 1 && layout.elements[0].type == ElementType::kSingle;
}

// Whether one channel is expanded to two: unless mono output is requested, if parametric stereo is signalled,
// else from its first data on.
bool HasParametricStereo(const DecoderState& state) {
  return (state.psSeen || state.config.psSignalled) && state.outputChannels != 1 && IsMono(state.layout);
}

// The channels before mixing.
Layout RenderedLayout(const DecoderState& state) {
  return HasParametricStereo(state) ? LayoutOfConfiguration(2) : state.layout;
}

// Whether the output has twice the core's sampling frequency.
bool IsDoubled(const DecoderState& state) {
  const bool coreAskedFor = state.outputFrequency == state.config.frequency;
  return HasSbr(state) && state.options.sbrDownSampled == 0 && !coreAskedFor;
}

SbrFormat FormatOf(const DecoderState& state) {
  return {state.config.frequency, state.config.frameLength, !IsDoubled(state), state.numbered, state.block};
}

int OutputLength(const DecoderState& state) {
  return IsDoubled(state) ? 2 * state.config.frameLength : state.config.frameLength;
}

// Transforms the spectra of all channels of the layout into samples; `samples` receives their addresses.
// Channels that the block does not carry are silent.
void SynthesiseChannels(DecoderState& state, WorkArea& work, PredictionArea* predictions,
                        const FilterBank& bank, float** samples) {
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
      std::fill_n(spectrum, state.config.frameLength, 0.0f);
    }
    SynthesiseFrame(bank, sequence, shape, state.channels[channel], work.scratch, spectrum);
    if (state.config.objectType == kObjectLtp) {
      UpdateLtp(spectrum, state.config.frameLength, predictions->channels[channel].ltp);
    }
    samples[channel] = spectrum;
  }
}

// Consecutive complete blocks after which earlier blocks have decayed from all recursive filters and smoothed
// factors.
constexpr int kConvergenceBlocks = 16;

// Reads the parametric stereo data that ReadSbrPayload has found in the element of a mono layout. False while
// they depend on payloads that were not received.
bool ReadPsPayload(DecoderState& state, BitWindow& stream, SbrArea& sbr) {
  const SbrData& data = sbr.scratch.data;
  if (data.psBits > 0) {
    stream.Seek(data.psPosition);
    const int slots = state.config.frameLength / kIppsSbrAnalysisBands;
    if (ParsePsData(stream, data.psBits, slots, sbr.psData) && !state.psSeen) {
      state.psSeen = true;
      UpdateMix(state);
    }
  }
  const bool expected = state.psSeen || state.config.psSignalled;
  return (data.psBits == 0 && !expected) || state.outputChannels == 1 || sbr.psData.Known();
}

// Adds an element's high band; `samples` are those of the core by channel, then those of the output. Returns
// whether the data of all earlier blocks it depends on were available.
bool DecodeSbrElement(DecoderState& state, int index, const SbrPayload& payload, BitWindow stream,
                      SbrArea& sbr, float** samples) {
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
void DecodeSbrElements(LockedMemory& memory, const std::uint8_t* data, std::size_t size, float** samples) {
  DecoderState& state = memory.State();
  const RawDataBlock& block = memory.Work().block;
  SbrArea& sbr = *memory.Sbr();
  for (int i = 0; i < state.layout.channelCount; ++i) {
    ippsLimit_32f_I(kSampleLimit, samples[i], static_cast<std::size_t>(state.config.frameLength));
  }
  SbrPayload payloads[kMaxChannels] = {};
  for (int i = 0; i < block.elementCount; ++i) {
    payloads[&PlaceOf(state, block, i) - state.layout.elements] = block.elements[i].sbr;
  }
  bool complete = ArePredictionsConverged(state, memory.Predictions());
  for (int i = 0; i < state.layout.elementCount; ++i) {
    complete &= DecodeSbrElement(state, i, payloads[i], BitWindow(data, size), sbr, samples);
  }
  sbr.completeBlocks = complete ? std::min(sbr.completeBlocks + 1, kConvergenceBlocks) : 0;
}

// Makes the signal of an independently switched coupling channel. With SBR it passes through the filter banks
// like the other channels, but has no high band of its own.
const float* MakeCoupledSignal(LockedMemory& memory, const FilterBank& bank, int index) {
  DecoderState& state = memory.State();
  WorkArea& work = memory.Work();
  ChannelStream& source = work.block.streams[work.block.couplings[index].stream];
  SynthesiseFrame(bank, source.ics.sequence, source.ics.shape, state.couplings[index], work.scratch,
                  source.spectrum);
  if (state.config.objectType == kObjectLtp) {
    UpdateLtp(source.spectrum, state.config.frameLength, memory.Predictions()->couplings[index].ltp);
  }
  if (!HasSbr(state)) return source.spectrum;
  SbrArea& sbr = *memory.Sbr();
  ippsLimit_32f_I(kSampleLimit, source.spectrum, static_cast<std::size_t>(state.config.frameLength));
  DecodeSbrChannel(FormatOf(state), SbrElementState{}, false, 0, source.spectrum, sbr.couplings[index],
                   sbr.scratch, sbr.coupled);
  return sbr.coupled;
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

// Adds the signals of independently switched coupling channels to the output's.
void CoupleSignals(LockedMemory& memory, const FilterBank& bank, float* const* samples) {
  DecoderState& state = memory.State();
  RawDataBlock& block = memory.Work().block;
  const auto length = static_cast<std::size_t>(OutputLength(state));
  float* targets[kMaxStreams];
  ForEachCarried(state, block, [&](int channel, int stream) { targets[stream] = samples[channel]; });
  for (int i = 0; i < block.couplingCount; ++i) {
    if (block.couplings[i].point != CouplingPoint::kTimeSignal) continue;
    const float* signal = MakeCoupledSignal(memory, bank, i);
    ForEachCoupled(block, i, [&](const float* gains, ChannelStream& target) {
      ippsAddProductC_32f(signal, gains[0], targets[&target - block.streams], length);
      if (HasParametricStereo(state)) ippsAddProductC_32f(signal, gains[0], samples[1], length);
    });
  }
  ResetCouplings(memory, block.couplingCount);
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

// Whether the headers of all elements have been received since Reset, except LFE elements, which have none.
bool AreHeadersSeen(const LockedMemory& memory) {
  const DecoderState& state = memory.State();
  if (!HasSbr(state)) return true;
  if (memory.Sbr() == nullptr) return false;
  for (int i = 0; i < state.layout.elementCount; ++i) {
    if (state.layout.elements[i].type != ElementType::kLfe && !memory.Sbr()->elements[i].headerSeen)
      return false;
  }
  return true;
}

bool CarriesSbr(const RawDataBlock& block) {
  return std::any_of(block.elements, block.elements + block.elementCount,
                     [](const BlockElement& element) { return element.sbr.bits > 0; });
}

}  // namespace

bool AdoptLayout(LockedMemory& memory) {
  DecoderState& state = memory.State();
  const RawDataBlock& block = memory.Work().block;
  // The container's description of the program, or its channel configuration, takes precedence (ISO/IEC
  // 14496-3, 4.5.1.2).
  if (block.hasProgram && !state.told) state.program = LayoutOfProgram(block.program);
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
    ResetChannels(memory);
    if (memory.Sbr() != nullptr) std::fill_n(memory.Sbr()->elements, kMaxChannels, SbrElementState{});
    UpdateMix(state);
  }
  return layout.channelCount > 0;
}

void UpdateMix(DecoderState& state) {
  const Layout layout = RenderedLayout(state);
  const int outputs = state.outputChannels != 0 ? state.outputChannels : layout.channelCount;
  if (outputs > 0) state.mix = MakeMixMatrix(layout, outputs);
}

bool MakeAreas(LockedMemory& memory) {
  const DecoderState& state = memory.State();
  if (IsPredictive(state.config.objectType) && memory.Predictions() == nullptr) {
    if (!memory.MakePredictions()) return false;
    ResetPredictions(state.config.objectType, *memory.Predictions());
  }
  return !(HasSbr(state) || CarriesSbr(memory.Work().block)) || memory.MakeSbr();
}

void Restart(LockedMemory& memory) {
  DecoderState& state = memory.State();
  if (state.started) {
    ResetChannels(memory);
  } else if (memory.Predictions() != nullptr) {
    // Nothing has been predicted yet, but the object type may have changed.
    ResetPredictions(state.config.objectType, *memory.Predictions());
  }
  state.started = state.sbrSeen = state.psSeen = false;
  state.program = state.config.Program();
  if (state.config.layout.channelCount > 0) state.layout = state.config.layout;
  UpdateMix(state);
}

void PassLostBlock(LockedMemory& memory) {
  DecoderState& state = memory.State();
  // Before the first block it is unknown whether there are headers.
  state.blank |= state.started && AreHeadersSeen(memory);
  Restart(memory);
}

void AdoptSbr(LockedMemory& memory, const std::uint8_t* data, std::size_t size) {
  DecoderState& state = memory.State();
  const RawDataBlock& block = memory.Work().block;
  for (int i = 0; i < block.elementCount && !state.sbrSeen; ++i) {
    const BlockElement& element = block.elements[i];
    if (element.sbr.bits == 0) continue;
    BitWindow stream(data, size);
    state.sbrSeen = !state.started || StartsSbr(FormatOf(state), stream, element.sbr,
                                                ChannelsOf(element.type), memory.Sbr()->scratch);
  }
}

bool IsConverged(const LockedMemory& memory) {
  const DecoderState& state = memory.State();
  if (state.blank) return true;
  if (!state.started) return false;
  if (!HasSbr(state)) return ArePredictionsConverged(state, memory.Predictions());
  return memory.Sbr() != nullptr && memory.Sbr()->completeBlocks >= kConvergenceBlocks;
}

bool HasSbr(const DecoderState& state) {
  const bool doubleAskedFor = state.options.sbrDownSampled == 0 && state.config.frequency != 0 &&
                              state.outputFrequency == 2 * state.config.frequency;
  return state.config.sbrSignalled || state.sbrSeen || doubleAskedFor;
}

std::uint32_t OutputFrequency(const DecoderState& state) {
  return IsDoubled(state) ? 2 * state.config.frequency : state.config.frequency;
}

std::size_t RenderedBytes(const DecoderState& state) {
  return static_cast<std::size_t>(state.mix.outputs * OutputLength(state)) * sizeof(std::int16_t);
}

std::size_t LargestRenderedBytes(const DecoderState& state, const RawDataBlock& block) {
  const bool mayWiden = state.outputChannels == 0 && !HasParametricStereo(state) && IsMono(state.layout) &&
                        block.elementCount == 1 && block.elements[0].sbr.bits > 0;
  return RenderedBytes(state) * (mayWiden ? 2 : 1);
}

void RenderBlock(LockedMemory& memory, const std::uint8_t* data, std::size_t size, std::int16_t* output) {
  DecoderState& state = memory.State();
  WorkArea& work = memory.Work();
  const FilterBank& bank = *SharedFilterBank(state.config.frameLength);
  ChannelHistory pasts[kMaxStreams];
  FindHistories(state, work.block, memory.Predictions(), pasts);
  ApplySpectralTools(data, size, bank, pasts, work.scratch, work.block);
  float* samples[kMaxChannels];
  SynthesiseChannels(state, work, memory.Predictions(), bank, samples);
  if (HasSbr(state)) DecodeSbrElements(memory, data, size, samples);
  CoupleSignals(memory, bank, samples);
  WriteSamples(state, work, samples, output);
}

}  // namespace UMC::aac
