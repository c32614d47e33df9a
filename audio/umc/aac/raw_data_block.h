// raw_data_block(): one frame of all channels (ISO/IEC 14496-3, 4.4.2.1).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/channel_stream.h"
#include "audio/umc/aac/core/codebooks.h"
#include "audio/umc/aac/core/coupling.h"
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
  bool commonWindow;    // for a pair; `mask` is valid only if set
  StereoMask mask;
  SbrPayload sbr;  // its position counts from the block's start
};

struct RawDataBlock {
  ChannelStream streams[kMaxStreams];  // first, to align the spectra for 32-byte vectors
  int elementCount;
  int channelCount;  // total for all elements
  int couplingCount;
  int streamCount;
  bool hasProgram;
  ProgramConfig program;  // the last one in the block
  BlockElement elements[kMaxChannels];
  Coupling couplings[kMaxCouplings];
  std::int16_t quantised[kMaxFrameLength];  // buffer for one stream's lines
};

// Calls visit(gains, targetStream) for every target channel of a coupling channel.
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

// Reads a block of the object type, including its byte alignment at the end, and makes the spectra of its
// streams; only `block` changes. `crc`, if not null, is updated with the bits that an ADTS checksum protects.
BlockStatus ParseRawDataBlock(fmp4::BitWindow& stream, const Codebooks& codebooks, const FrameBands& bands,
                              int objectType, RawDataBlock& block, Ipp32u* crc);

// The generator polynomial and initial register of the ADTS checksum, as in ippsCRC32_8u.
inline constexpr Ipp32u kAdtsCrcPolynomial = 0x80050000u;
inline constexpr Ipp32u kAdtsCrcStart = 0xFFFF0000u;

}  // namespace UMC::aac
