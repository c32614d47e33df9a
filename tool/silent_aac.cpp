#include "silent_aac.h"

#include <array>

#include "bit_reader.h"

namespace {

// Syntactic elements (ISO/IEC 14496-3, Table 4.85).
enum Element : std::uint32_t { kSingle = 0, kPair = 1, kLowFrequency = 3, kEnd = 7 };

struct ChannelElement {
  Element type;
  std::uint32_t tag;
};

class BitWriter {
 public:
  void put(std::uint32_t value, unsigned count) {
    for (; count > 0; --count, ++place_) {
      if (place_ % 8 == 0) bytes_.push_back(0);
      bytes_.back() |= static_cast<std::uint8_t>((value >> (count - 1) & 1) << (7 - place_ % 8));
    }
  }
  // Padded with zeros up to a whole byte.
  std::vector<std::uint8_t> bytes() const { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t place_ = 0;
};

// The elements of a channel configuration (Table 1.19), each with a tag of its own among those of its type;
// empty where it is reserved.
std::vector<ChannelElement> elementsOf(std::uint32_t channelConfiguration) {
  static const std::array<std::vector<Element>, 15> kLayouts = {{
      {},
      {kSingle},
      {kPair},
      {kSingle, kPair},
      {kSingle, kPair, kSingle},
      {kSingle, kPair, kPair},
      {kSingle, kPair, kPair, kLowFrequency},
      {kSingle, kPair, kPair, kPair, kLowFrequency},
      {},
      {},
      {},
      {kSingle, kPair, kPair, kSingle, kLowFrequency},
      {kSingle, kPair, kPair, kPair, kLowFrequency},
      {},
      {kSingle, kPair, kPair, kLowFrequency, kPair},
  }};
  std::vector<ChannelElement> elements;
  if (channelConfiguration >= kLayouts.size()) return elements;
  std::array<std::uint32_t, 4> tags = {};
  for (const Element type : kLayouts[channelConfiguration]) elements.push_back({type, tags[type]++});
  return elements;
}

// The elements of a program_config_element (4.4.1.1) that have channels of their own.
std::vector<ChannelElement> programElements(BitReader& bits) {
  bits.take(4 + 2 + 4);  // its tag, object type and sampling frequency
  const std::uint32_t front = bits.take(4), side = bits.take(4), back = bits.take(4);
  const std::uint32_t lowFrequency = bits.take(2);
  bits.take(3 + 4);                // associated data and coupling elements
  if (bits.take(1)) bits.take(4);  // mono mixdown
  if (bits.take(1)) bits.take(4);  // stereo mixdown
  if (bits.take(1)) bits.take(3);  // matrix mixdown
  std::vector<ChannelElement> elements;
  for (std::uint32_t i = 0; i < front + side + back; ++i) {
    const Element type = bits.take(1) ? kPair : kSingle;
    elements.push_back({type, bits.take(4)});
  }
  for (std::uint32_t i = 0; i < lowFrequency; ++i) elements.push_back({kLowFrequency, bits.take(4)});
  return bits.pastEnd() ? std::vector<ChannelElement>() : elements;
}

std::uint32_t takeObjectType(BitReader& bits) {
  constexpr std::uint32_t kEscape = 31;
  const std::uint32_t type = bits.take(5);
  return type == kEscape ? 32 + bits.take(6) : type;
}

void skipSamplingFrequency(BitReader& bits) {
  constexpr std::uint32_t kExplicit = 15;
  if (bits.take(4) == kExplicit) bits.take(24);
}

// The elements that a configuration's raw data blocks have; empty: they are not built of such.
std::vector<ChannelElement> channelElements(std::span<const std::uint8_t> config) {
  constexpr std::uint32_t kMain = 1, kLongTermPrediction = 4, kBandReplication = 5, kParametricStereo = 29;
  BitReader bits(config);
  std::uint32_t type = takeObjectType(bits);
  skipSamplingFrequency(bits);
  const std::uint32_t channels = bits.take(4);
  if (type == kBandReplication || type == kParametricStereo) {
    skipSamplingFrequency(bits);
    type = takeObjectType(bits);
  }
  if (type < kMain || type > kLongTermPrediction) return {};
  bits.take(1);                     // frame length
  if (bits.take(1)) bits.take(14);  // delay of the core coder
  bits.take(1);                     // extension
  return channels == 0 ? programElements(bits) : elementsOf(channels);
}

// ics_info of one long window without scale factor bands or prediction (4.4.2.1).
void putWindow(BitWriter& bits) {
  bits.put(0, 1 + 2 + 1);  // reserved, window sequence and shape
  bits.put(0, 6);          // max_sfb
  bits.put(0, 1);          // no prediction
}

// An individual_channel_stream (4.4.2.7), but for its ics_info.
void putChannel(BitWriter& bits, bool ownWindow) {
  bits.put(0, 8);  // global gain
  if (ownWindow) putWindow(bits);
  bits.put(0, 1 + 1 + 1);  // no pulses, noise shaping, gain control
}

void putPair(BitWriter& bits) {
  bits.put(1, 1);  // one window for both channels
  putWindow(bits);
  bits.put(0, 2);  // no mid/side stereo
  putChannel(bits, false);
  putChannel(bits, false);
}

}  // namespace

std::optional<std::vector<std::uint8_t>> silentAccessUnit(std::span<const std::uint8_t> config) {
  const std::vector<ChannelElement> elements = channelElements(config);
  if (elements.empty()) return std::nullopt;
  BitWriter bits;
  for (const ChannelElement& element : elements) {
    bits.put(element.type, 3);
    bits.put(element.tag, 4);
    if (element.type == kPair)
      putPair(bits);
    else
      putChannel(bits, true);
  }
  bits.put(kEnd, 3);
  return bits.bytes();
}
