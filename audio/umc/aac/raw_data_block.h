// raw_data_block(): one frame of all channels (ISO/IEC 14496-3, 4.4.2.1).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/channel_stream.h"
#include "audio/umc/aac/core/codebooks.h"
#include "audio/umc/aac/core/coupling.h"
#include "audio/umc/aac/core/filter_bank.h"
#include "audio/umc/aac/core/stereo.h"
#include "audio/umc/aac/sbr/data.h"
#include "base/aac/layout.h"
#include "base/aac/program_config.h"
#include "base/bit_window.h"
#include "dsp/ipps_types.h"

namespace UMC::aac {

inline constexpr int kMaxStreams = kMaxChannels + kMaxCouplings;

// A single, pair or LFE element.
struct BlockElement {
  ElementType type;
  std::uint8_t tag;
  std::uint8_t stream;  // index of its first channel's stream
  bool commonWindow;    // of a pair; `mask` counts only then
  StereoMask mask;
  SbrPayload sbr;  // its position counts from the block's start
};

struct RawDataBlock {
  ChannelStream streams[kMaxStreams];  // first, which keeps their spectra aligned for vectors of 32 bytes
  int elementCount;
  int channelCount;  // of all elements
  int couplingCount;
  int streamCount;
  bool hasProgram;
  ProgramConfig program;  // the last one in the block
  BlockElement elements[kMaxChannels];
  Coupling couplings[kMaxCouplings];
  std::int16_t quantised[kMaxFrameLength];  // room for one stream's lines
};

// Calls visit(gains, targetStream) for every channel that a coupling channel is coupled to.
template <class Visit>
void ForEachCoupled(RawDataBlock& block, int coupling, Visit visit) {
  const Coupling& source = block.couplings[coupling];
  for (int i = 0; i < source.targetCount; ++i) {
    const CouplingTarget& target = source.targets[i];
    const auto type = target.isPair ? ElementType::kPair : ElementType::kSingle;
    for (int j = 0; j < block.elementCount; ++j) {
      const BlockElement& element = block.elements[j];
      if (element.type != type || element.tag != target.tag) continue;
      for (int channel = 0; channel < ChannelsOf(type); ++channel) {
        const int list = target.gainLists[channel];
        if (list >= 0) visit(source.gains[list], block.streams[element.stream + channel]);
      }
    }
  }
}

enum class BlockStatus { kOk, kInvalid, kOverrun };

// Reads a block of the object type, its alignment at the end included, and makes the spectra of its streams;
// nothing but `block` changes. `crc`, where not null, takes in the bits that an ADTS checksum protects.
BlockStatus ParseRawDataBlock(BitWindow& stream, const Codebooks& codebooks, const FrameBands& bands,
                              int objectType, RawDataBlock& block, Ipp32u* crc);

// What the spectral tools know of a channel's past: its overlap, and what its object type predicts from.
struct ChannelPast {
  const FilterBankState* overlap;
  PredictionState* prediction;  // null: of another object type
  LtpState* ltp;                // likewise
};

// Undoes noise substitution, joint stereo, prediction, coupling of spectra and TNS. The noise depends on
// `data`, the block's bytes; `past` is that of every stream.
void ApplySpectralTools(const std::uint8_t* data, std::size_t size, const FilterBank& bank,
                        const ChannelPast* past, FilterBankScratch& scratch, RawDataBlock& block);

// The generator polynomial and start of the ADTS checksum, as ippsCRC32_8u takes them.
inline constexpr Ipp32u kAdtsCrcPolynomial = 0x80050000u;
inline constexpr Ipp32u kAdtsCrcStart = 0xFFFF0000u;

}  // namespace UMC::aac
