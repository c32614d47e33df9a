#include "tool/package/silent_aac.h"

#include "base/aac/audio_specific_config.h"

namespace fmp4 {

namespace {

using UMC::aac::ElementType;

constexpr std::uint32_t kEnd = 7;  // id_syn_ele (ISO/IEC 14496-3, table 4.85)

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

// ics_info of one long window without scale factor bands or prediction (4.4.2.1).
void putWindow(BitWriter& bits) {
  bits.put(0, 1 + 2 + 1);  // reserved, window sequence and shape
  bits.put(0, 6);          // max_sfb
  bits.put(0, 1);          // no prediction
}

// An individual_channel_stream (4.4.2.7) without its ics_info.
void putChannel(BitWriter& bits, bool ownWindow) {
  bits.put(0, 8);  // global gain
  if (ownWindow) putWindow(bits);
  bits.put(0, 1 + 1 + 1);  // no pulses, noise shaping, gain control
}

void putPair(BitWriter& bits) {
  bits.put(1, 1);  // common_window
  putWindow(bits);
  bits.put(0, 2);  // no mid/side stereo
  putChannel(bits, false);
  putChannel(bits, false);
}

}  // namespace

std::optional<std::vector<std::uint8_t>> silentAccessUnit(std::span<const std::uint8_t> config) {
  UMC::aac::AudioSpecificConfig parsed{};
  if (!UMC::aac::ParseAudioSpecificConfig(config.data(), config.size(), parsed)) return std::nullopt;
  const UMC::aac::Layout& layout = parsed.layout;
  if (!UMC::aac::IsSupportedObjectType(parsed.objectType) || layout.elementCount == 0) return std::nullopt;
  BitWriter bits;
  for (unsigned i = 0; i < layout.elementCount; ++i) {
    const auto& [type, tag, firstChannel] = layout.elements[i];
    bits.put(static_cast<std::uint32_t>(type), 3);
    bits.put(tag, 4);
    if (type == ElementType::kPair)
      putPair(bits);
    else
      putChannel(bits, true);
  }
  bits.put(kEnd, 3);
  return bits.bytes();
}

}  // namespace fmp4
