#include "captions/channel_decoders.h"

namespace fmp4::captions {

namespace {

using Standard = CaptionChannel::Standard;

template <class Decoders>
void tellOf(Decoders& decoders, bool ofPairs, const ChannelDecoders::Changed& changed) {
  unsigned number = 0;
  for (Cea608Decoder& decoder : decoders) {
    ++number;
    if (decoder.takeChanged()) changed.cea608({{Standard::Cea608, number}, ofPairs}, decoder);
  }
}

}  // namespace

std::string CaptionChannel::name() const {
  return (standard == Standard::Cea608 ? "CC" : "service ") + std::to_string(number);
}

void ChannelDecoders::add(std::int64_t frame, std::span<const std::uint8_t> pair,
                          std::span<const std::uint8_t> packet, const Changed& changed) {
  if (pair.size() >= 2) {
    hasPairs_ = hasPairs_ || !isNullPair(pair.first<2>());
    for (Cea608Decoder& decoder : pairs_) decoder.push(pair[0], pair[1]);
    tellOf(pairs_, true, changed);
  }
  for (const CcConstruct& construct : parseDistributionPacket(packet)) {
    services_.add(frame, construct);
    if (!construct.valid || !construct.isPair()) continue;
    const std::size_t first = construct.type == CcType::Field1 ? 0 : 2;
    for (Cea608Decoder& decoder : std::span(packets_).subspan(first, 2))
      decoder.push(construct.bytes[0], construct.bytes[1]);
  }
  tellOf(packets_, false, changed);
  services_.endFrame(frame, [&changed](unsigned number, const Cea708Service& service) {
    changed.cea708({{Standard::Cea708, number}, false}, service);
  });
}

bool ChannelDecoders::isTaken(const CaptionSource& source) const {
  const bool mayBePairs =
      source.channel.standard == Standard::Cea608 && source.channel.number <= pairs_.size();
  return source.ofPairs == (mayBePairs && hasPairs_);
}

}  // namespace fmp4::captions
