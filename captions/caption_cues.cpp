#include "captions/caption_cues.h"

#include <utility>

namespace fmp4::captions {

std::string CaptionChannel::name() const {
  return (standard == Standard::Cea608 ? "CC" : "service ") + std::to_string(number);
}

void CaptionCues::Channel608::show(std::int64_t frame) {
  if (decoder.takeChanged()) cues.show(frame, decoder.caption());
}

void CaptionCues::add(std::int64_t frame, std::span<const std::uint8_t> pair,
                      std::span<const std::uint8_t> packet) {
  if (pair.size() >= 2) {
    hasPairs_ = hasPairs_ || !isNullPair(pair.first<2>());
    for (Channel608& channel : pairs_) {
      channel.decoder.push(pair[0], pair[1]);
      channel.show(frame);
    }
  }
  for (const CcConstruct& construct : parseDistributionPacket(packet)) {
    services_.add(frame, construct);
    if (!construct.valid || !construct.isPair()) continue;
    const std::size_t first = construct.type == CcType::Field1 ? 0 : 2;
    for (Channel608& channel : std::span(packets_).subspan(first, 2))
      channel.decoder.push(construct.bytes[0], construct.bytes[1]);
  }
  for (Channel608& channel : packets_) channel.show(frame);
  services_.endFrame(frame, [this, frame](unsigned service, const Caption& caption) {
    serviceCues_[service].show(frame, caption);
  });
}

std::map<CaptionChannel, std::vector<Cue>> CaptionCues::finish(std::int64_t end) {
  std::map<CaptionChannel, std::vector<Cue>> result;
  for (unsigned i = 0; i < packets_.size(); ++i) {
    Channel608& channel = hasPairs_ && i < pairs_.size() ? pairs_[i] : packets_[i];
    if (!channel.cues.empty()) result[{CaptionChannel::Standard::Cea608, i + 1}] = channel.cues.finish(end);
  }
  for (auto& [service, cues] : serviceCues_)
    if (!cues.empty()) result[{CaptionChannel::Standard::Cea708, service}] = cues.finish(end);
  return result;
}

}  // namespace fmp4::captions
