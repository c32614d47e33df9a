#include "audio/umc/aac/raw_data_block.h"

#include <algorithm>

#include "audio/umc/aac/core/individual_channel_stream.h"
#include "audio/umc/aac/fill_element.h"
#include "dsp/ipps_crc.h"

namespace UMC::aac {

namespace {

// id_syn_ele
enum : std::uint32_t { kIdSce, kIdCpe, kIdCce, kIdLfe, kIdDse, kIdPce, kIdFil, kIdEnd };

// Maximum number of bits of an element, and of a pair's second channel stream, that the checksum protects
// (ISO/IEC 14496-3, 1.A.2.2.3).
constexpr std::size_t kCrcElementBits = 192;
constexpr std::size_t kCrcSecondChannelBits = 128;

class BlockParser {
 public:
  BlockParser(fmp4::BitWindow& stream, const Codebooks& codebooks, const FrameBands& bands, int objectType,
              RawDataBlock& block, Ipp32u* crc)
      : m_stream(stream),
        m_codebooks(codebooks),
        m_bands(bands),
        m_objectType(objectType),
        m_block(block),
        m_crc(crc) {}

  bool Parse() {
    m_block.elementCount = m_block.channelCount = m_block.couplingCount = m_block.streamCount = 0;
    m_block.hasProgram = false;
    const std::size_t blockStart = m_stream.Position();
    // The element to which a fill element's payload belongs.
    BlockElement* previous = nullptr;
    while (!m_stream.Overrun()) {
      const auto id = m_stream.Read(3);
      const std::size_t start = m_stream.Position();
      switch (id) {
        case kIdSce:
          if (!ParseElement(ElementType::kSingle)) return false;
          previous = LastElement();
          Protect(start, kCrcElementBits);
          break;
        case kIdLfe:
          if (!ParseElement(ElementType::kLfe)) return false;
          previous = nullptr;
          Protect(start, kCrcElementBits);
          break;
        case kIdCpe:
          if (!ParsePair()) return false;
          previous = LastElement();
          break;
        case kIdCce:
          if (!ParseCouplingElement()) return false;
          previous = nullptr;
          Protect(start, kCrcElementBits);
          break;
        case kIdDse:
          SkipDataStream();
          Protect(start, m_stream.Position() - start);
          break;
        case kIdPce:
          m_stream.Read(4);  // element_instance_tag
          if (!ParseProgramConfig(m_stream, m_block.program)) return false;
          m_block.hasProgram = true;
          Protect(start, m_stream.Position() - start);
          break;
        case kIdFil:
          ParseFill(blockStart, previous);
          break;
        default:
          m_stream.AlignToByte();
          return !m_stream.Overrun();
      }
    }
    return false;
  }

 private:
  ChannelStream* NewStream() {
    return m_block.streamCount == kMaxStreams ? nullptr : &m_block.streams[m_block.streamCount++];
  }

  bool ParseChannel(bool commonWindow, ChannelStream& channel) {
    return ParseIndividualChannelStream(m_stream, m_codebooks, m_bands, m_objectType, commonWindow,
                                        m_block.quantised, channel);
  }

  // Adds an element and its channels; null if there are too many.
  BlockElement* NewElement(ElementType type) {
    const int channels = ChannelsOf(type);
    if (m_block.channelCount + channels > kMaxChannels) return nullptr;
    m_block.channelCount += channels;
    BlockElement& element = m_block.elements[m_block.elementCount++];
    element.type = type;
    element.tag = static_cast<std::uint8_t>(m_stream.Read(4));
    element.stream = static_cast<std::uint8_t>(m_block.streamCount);
    element.sbr = {};
    return &element;
  }

  BlockElement* LastElement() { return &m_block.elements[m_block.elementCount - 1]; }

  bool ParseElement(ElementType type) {
    BlockElement* element = NewElement(type);
    ChannelStream* channel = element == nullptr ? nullptr : NewStream();
    return channel != nullptr && ParseChannel(false, *channel);
  }

  bool ParsePair() {
    const std::size_t start = m_stream.Position();
    BlockElement* element = NewElement(ElementType::kPair);
    ChannelStream* left = element == nullptr ? nullptr : NewStream();
    ChannelStream* right = left == nullptr ? nullptr : NewStream();
    if (right == nullptr) return false;
    element->commonWindow = m_stream.ReadFlag();
    if (element->commonWindow) {
      if (!ParseIcsInfo(m_stream, m_bands, m_objectType, left->ics, &right->ics)) return false;
      if (!ParseStereoMask(m_stream, left->ics, element->mask)) return false;
    }
    if (!ParseChannel(element->commonWindow, *left)) return false;
    const std::size_t second = m_stream.Position();
    if (!ParseChannel(element->commonWindow, *right)) return false;
    Protect(start, kCrcElementBits);
    Protect(second, kCrcSecondChannelBits);
    return true;
  }

  bool ParseCouplingElement() {
    if (m_block.couplingCount == kMaxCouplings) return false;
    m_stream.Read(4);  // element_instance_tag
    Coupling& coupling = m_block.couplings[m_block.couplingCount++];
    coupling.stream = static_cast<std::uint8_t>(m_block.streamCount);
    ChannelStream* channel = NewStream();
    return channel != nullptr &&
           ParseCoupling(m_stream, m_codebooks, m_bands, m_objectType, m_block.quantised, *channel, coupling);
  }

  // data_stream_element()
  void SkipDataStream() {
    m_stream.Read(4);  // element_instance_tag
    const bool align = m_stream.ReadFlag();
    std::size_t bytes = m_stream.Read(8);
    if (bytes == 255) bytes += m_stream.Read(8);
    if (align) m_stream.AlignToByte();
    m_stream.Seek(m_stream.Position() + 8 * bytes);
  }

  // Records the location of the preceding element's payload.
  void ParseFill(std::size_t blockStart, BlockElement* element) {
    SbrPayload sbr{};
    ParseFillElement(m_stream, sbr);
    if (element == nullptr || sbr.bits == 0) return;
    sbr.position -= blockStart;
    element->sbr = sbr;
  }

  // Feeds `bits` bits from `start` into the checksum, with zeros for those past the parser's position.
  void Protect(std::size_t start, std::size_t bits) {
    if (m_crc == nullptr || m_stream.Overrun()) return;
    const std::size_t sent = std::min(bits, m_stream.Position() - start);
    ippsCRC32_8u(m_stream.Data(), start, sent, kAdtsCrcPolynomial, m_crc);
    ippsCRC32_8u(nullptr, 0, bits - sent, kAdtsCrcPolynomial, m_crc);
  }

  fmp4::BitWindow& m_stream;
  const Codebooks& m_codebooks;
  const FrameBands& m_bands;
  int m_objectType;
  RawDataBlock& m_block;
  Ipp32u* m_crc;
};

}  // namespace

BlockStatus ParseRawDataBlock(fmp4::BitWindow& stream, const Codebooks& codebooks, const FrameBands& bands,
                              int objectType, RawDataBlock& block, Ipp32u* crc) {
  if (BlockParser(stream, codebooks, bands, objectType, block, crc).Parse()) return BlockStatus::kOk;
  return stream.Overrun() ? BlockStatus::kOverrun : BlockStatus::kInvalid;
}

}  // namespace UMC::aac
