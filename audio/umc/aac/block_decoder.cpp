#include "audio/umc/aac/block_decoder.h"

#include <algorithm>

#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/layout_tracking.h"
#include "audio/umc/aac/output_format.h"
#include "audio/umc/aac/pcm_output.h"
#include "audio/umc/aac/predictions.h"
#include "audio/umc/aac/sbr_stage.h"
#include "audio/umc/aac/spectral_tools.h"
#include "audio/umc/aac/synthesis.h"
#include "audio/umc/aac/time_coupling.h"

namespace UMC::aac {

namespace {

bool CarriesSbr(const RawDataBlock& block) {
  return std::any_of(block.elements, block.elements + block.elementCount,
                     [](const BlockElement& element) { return element.sbr.bits > 0; });
}

}  // namespace

Status BlockDecoder::Prepare() {
  if (!AdoptLayout(m_memory)) return UMC_ERR_INVALID_STREAM;
  if (!MakeAreas()) return UMC_ERR_ALLOC;
  AdoptSbr(m_memory, m_bytes);
  return UMC_OK;
}

// Allocates the areas that the stream needs up to and including the block. False without memory.
bool BlockDecoder::MakeAreas() {
  const DecoderState& state = m_memory.State();
  if (IsPredictive(state.config.objectType) && m_memory.Predictions() == nullptr) {
    if (!m_memory.MakePredictions()) return false;
    ResetPredictions(state.config.objectType, *m_memory.Predictions());
  }
  return !(HasSbr(state) || CarriesSbr(m_memory.Work().block)) || m_memory.MakeSbr();
}

std::size_t BlockDecoder::LargestOutput() const {
  return LargestOutputBytes(m_memory.State(), m_memory.Work().block);
}

std::size_t BlockDecoder::Decode(std::int16_t* output) {
  DecoderState& state = m_memory.State();
  float* samples[kMaxChannels];
  ApplySpectralTools(m_memory, m_bytes);
  SynthesiseChannels(m_memory, samples);
  if (HasSbr(state)) SbrStage(m_memory).AddHighBands(m_bytes, samples);
  AddCoupledSignals(m_memory, samples);
  WritePcm(m_memory, samples, output);
  state.started = state.formatKnown = true;
  ++state.block;
  return OutputBytes(state);
}

}  // namespace UMC::aac
