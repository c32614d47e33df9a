#include "audio/umc/aac/sbr_stage.h"

#include <algorithm>

#include "audio/umc/aac/layout_tracking.h"
#include "audio/umc/aac/output_format.h"
#include "audio/umc/aac/predictions.h"
#include "dsp/ipps_vector.h"

namespace UMC::aac {

void AdoptSbr(LockedMemory& memory, std::span<const std::uint8_t> bytes) {
  DecoderState& state = memory.State();
  const RawDataBlock& block = memory.Work().block;
  for (int i = 0; i < block.elementCount && !state.sbrSeen; ++i) {
    const BlockElement& element = block.elements[i];
    if (element.sbr.bits == 0) continue;
    state.sbrKnown = true;  // even if a header, which an earlier block had, is missing
    fmp4::BitWindow stream(bytes.data(), bytes.size());
    state.sbrSeen = !state.started || StartsSbr(SbrFormatOf(state), stream, element.sbr,
                                                ChannelsOf(element.type), memory.Sbr()->scratch);
  }
}

SbrStage::SbrStage(LockedMemory& memory)
    : m_state(memory.State()),
      m_block(memory.Work().block),
      m_sbr(*memory.Sbr()),
      m_predictions(memory.Predictions()),
      m_format(SbrFormatOf(m_state)) {}

void SbrStage::AddHighBands(std::span<const std::uint8_t> bytes, float** samples) {
  const Layout& layout = m_state.layout;
  for (int i = 0; i < layout.channelCount; ++i) {
    ippsLimit_32f_I(kSampleLimit, samples[i], static_cast<std::size_t>(m_state.config.frameLength));
  }
  SbrPayload payloads[kMaxChannels] = {};
  for (int i = 0; i < m_block.elementCount; ++i) {
    payloads[&PlaceOf(m_state, m_block, i) - layout.elements] = m_block.elements[i].sbr;
  }
  bool complete = ArePredictionsConverged(m_state, m_predictions);
  for (int i = 0; i < layout.elementCount; ++i) {
    complete &= DecodeElement(i, payloads[i], fmp4::BitWindow(bytes.data(), bytes.size()), samples);
  }
  m_sbr.completeBlocks = complete ? std::min(m_sbr.completeBlocks + 1, kSbrConvergenceBlocks) : 0;
}

const float* SbrStage::PassCoupling(int index, float* samples) {
  ippsLimit_32f_I(kSampleLimit, samples, static_cast<std::size_t>(m_state.config.frameLength));
  DecodeSbrChannel(m_format, SbrElementState{}, false, 0, samples, m_sbr.couplings[index], m_sbr.scratch,
                   m_sbr.coupled);
  return m_sbr.coupled;
}

// Returns whether the data of all earlier blocks that the element depends on were available.
bool SbrStage::DecodeElement(int index, const SbrPayload& payload, fmp4::BitWindow stream, float** samples) {
  const LayoutElement& place = m_state.layout.elements[index];
  const int count = ChannelsOf(place.type);
  SbrElementState& element = m_sbr.elements[index];
  SbrChannelState* channels = m_sbr.channels + place.firstChannel;
  const bool hasHighBand = ReadSbrPayload(m_format, stream, payload, count, element, channels, m_sbr.scratch);
  bool complete = IsSbrComplete(element, payload.bits, hasHighBand);
  if (hasHighBand && IsMono(m_state.layout)) complete &= ReadPsPayload(stream);
  if (HasParametricStereo(m_state)) {
    DecodeSbrStereo(m_format, element, hasHighBand, samples[0], m_sbr.psData, m_sbr.ps, channels,
                    m_sbr.scratch, m_sbr.output[0], m_sbr.output[1]);
    samples[0] = m_sbr.output[0];
    samples[1] = m_sbr.output[1];
    return complete;
  }
  for (int c = 0; c < count; ++c) {
    const int channel = place.firstChannel + c;
    DecodeSbrChannel(m_format, element, hasHighBand, c, samples[channel], channels[c], m_sbr.scratch,
                     m_sbr.output[channel]);
    samples[channel] = m_sbr.output[channel];
  }
  return complete;
}

// Reads the parametric stereo data that ReadSbrPayload has found in the element of a mono layout. False while
// they depend on payloads that were not received.
bool SbrStage::ReadPsPayload(fmp4::BitWindow& stream) {
  const SbrData& data = m_sbr.scratch.data;
  if (data.psBits > 0) {
    stream.Seek(data.psPosition);
    const int slots = m_state.config.frameLength / kIppsSbrAnalysisBands;
    if (ParsePsData(stream, data.psBits, slots, m_sbr.psData) && !m_state.psSeen) {
      m_state.psSeen = true;
      UpdateMix(m_state);
    }
  }
  const bool expected = m_state.psSeen || m_state.config.psSignalled;
  return (data.psBits == 0 && !expected) || m_state.outputChannels == 1 || m_sbr.psData.Known();
}

}  // namespace UMC::aac
