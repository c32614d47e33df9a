// SBR and parametric stereo of a block, after the filter bank.
#pragma once

#include <cstdint>
#include <span>

#include "audio/umc/aac/decoder_memory.h"
#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/sbr/sbr_decoder.h"

namespace UMC::aac {

// Determines whether the parsed block, whose bytes are `bytes`, is the first with SBR: in the first block any
// SBR payload counts, in later ones (where damage may look like one) only a valid payload. From then on all
// blocks have SBR. The SBR area must exist if the block has an SBR payload.
void AdoptSbr(LockedMemory& memory, std::span<const std::uint8_t> bytes);

// The stage of one block, in a decoder that has the SBR area.
class SbrStage {
 public:
  explicit SbrStage(LockedMemory& memory);

  // Adds the high bands; `bytes` are the block's, `samples` are those of the core by channel, then those of
  // the output.
  void AddHighBands(std::span<const std::uint8_t> bytes, float** samples);

  // Passes coupling channel `index` through the filter banks like the other channels, but without a high band
  // of its own. `samples` are the core's; returns those of the output.
  const float* PassCoupling(int index, float* samples);

 private:
  bool DecodeElement(int index, const SbrPayload& payload, fmp4::BitWindow stream, float** samples);
  bool ReadPsPayload(fmp4::BitWindow& stream);

  DecoderState& m_state;
  const RawDataBlock& m_block;
  SbrArea& m_sbr;
  const PredictionArea* m_predictions;  // null for object types without prediction
  const SbrFormat m_format;
};

}  // namespace UMC::aac
