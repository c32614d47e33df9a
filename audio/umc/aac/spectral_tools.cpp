#include "audio/umc/aac/spectral_tools.h"

#include <algorithm>

#include "audio/umc/aac/core/noise.h"
#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/layout_tracking.h"

namespace UMC::aac {

namespace {

// A channel's history as used by the tools: its overlap and its prediction state.
struct ChannelHistory {
  const FilterBankState* overlap;
  PredictionState* prediction;  // null for other object types
  LtpState* ltp;                // null for other object types
};

ChannelHistory HistoryOf(int objectType, const FilterBankState& overlap, PredictionMemory* memory) {
  return {&overlap, objectType == kObjectMain ? &memory->prediction : nullptr,
          objectType == kObjectLtp ? &memory->ltp : nullptr};
}

bool HasNoiseAnywhere(const RawDataBlock& block) {
  return std::any_of(block.streams, block.streams + block.streamCount, HasNoise);
}

// The tools of one block. `stream` is an index into the block's streams.
class SpectralTools {
 public:
  SpectralTools(LockedMemory& memory, std::span<const std::uint8_t> bytes)
      : m_bank(*SharedFilterBank(memory.State().config.frameLength)),
        m_scratch(memory.Work().scratch),
        m_block(memory.Work().block),
        m_noise(bytes.data(), HasNoiseAnywhere(m_block) ? bytes.size() : 0) {
    FindHistories(memory.State(), memory.Predictions());
  }

  void Apply() {
    for (int i = 0; i < m_block.couplingCount; ++i) ApplyToCoupling(m_block.couplings[i].stream);
    for (int i = 0; i < m_block.elementCount; ++i) ApplyBeforeCoupling(m_block.elements[i]);
    CoupleSpectra(CouplingPoint::kBeforeTns);
    for (int i = 0; i < m_block.elementCount; ++i) {
      const BlockElement& element = m_block.elements[i];
      for (int c = 0; c < ChannelsOf(element.type); ++c) ApplyLtpAndTns(element.stream + c);
    }
    CoupleSpectra(CouplingPoint::kAfterTns);
  }

 private:
  // Finds the history of every stream. `area` is for predictive object types.
  void FindHistories(const DecoderState& state, PredictionArea* area) {
    const int type = state.config.objectType;
    ForEachCarried(state, m_block, [&](int channel, int stream) {
      PredictionMemory* memory = area == nullptr ? nullptr : &area->channels[channel];
      m_histories[stream] = HistoryOf(type, state.channels[channel], memory);
    });
    for (int i = 0; i < m_block.couplingCount; ++i) {
      PredictionMemory* memory = area == nullptr ? nullptr : &area->couplings[i];
      m_histories[m_block.couplings[i].stream] = HistoryOf(type, state.couplings[i], memory);
    }
  }

  // All tools of a coupling channel, which is complete before it is added to others.
  void ApplyToCoupling(int stream) {
    ApplyNoise(m_block.streams[stream], m_noise);
    Predict(stream);
    ApplyLtpAndTns(stream);
  }

  void ApplyBeforeCoupling(const BlockElement& element) {
    const int channels = ChannelsOf(element.type);
    if (channels == 2 && element.commonWindow) {
      ApplyToPair(element);
      return;
    }
    for (int stream = element.stream; stream < element.stream + channels; ++stream) {
      ApplyNoise(m_block.streams[stream], m_noise);
      Predict(stream);
    }
  }

  // A pair with common windows.
  void ApplyToPair(const BlockElement& element) {
    ChannelStream& left = m_block.streams[element.stream];
    ChannelStream& right = m_block.streams[element.stream + 1];
    ApplyNoise(left, right, element.mask.used, m_noise);
    ApplyMidSide(element.mask, left, right);
    Predict(element.stream);
    Predict(element.stream + 1);
    ApplyIntensity(element.mask, left, right);
  }

  void Predict(int stream) {
    PredictionState* prediction = m_histories[stream].prediction;
    if (prediction != nullptr) ApplyPrediction(*prediction, m_block.streams[stream]);
  }

  void ApplyLtpAndTns(int stream) {
    const ChannelHistory& history = m_histories[stream];
    ChannelStream& channel = m_block.streams[stream];
    if (history.ltp != nullptr) ApplyLtp(m_bank, *history.overlap, *history.ltp, m_scratch, channel);
    ApplyTns(channel.tns, channel.ics, channel.spectrum);
  }

  // Adds the spectra of coupling channels for the coupling point `point`.
  void CoupleSpectra(CouplingPoint point) {
    for (int i = 0; i < m_block.couplingCount; ++i) {
      if (m_block.couplings[i].point != point) continue;
      const ChannelStream& source = m_block.streams[m_block.couplings[i].stream];
      ForEachCoupled(m_block, i, [&](const float* gains, ChannelStream& target) {
        AddCoupledSpectrum(source, gains, target);
      });
    }
  }

  const FilterBank& m_bank;
  FilterBankScratch& m_scratch;
  RawDataBlock& m_block;
  NoiseGenerator m_noise;
  ChannelHistory m_histories[kMaxStreams];
};

}  // namespace

void ApplySpectralTools(LockedMemory& memory, std::span<const std::uint8_t> bytes) {
  SpectralTools(memory, bytes).Apply();
}

}  // namespace UMC::aac
