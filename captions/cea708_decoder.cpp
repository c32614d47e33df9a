#include "captions/cea708_decoder.h"

namespace fmp4::captions {

void Cea708Decoder::add(std::int64_t frame, const CcConstruct& construct) {
  packets_.add(
      construct,
      [this, frame](unsigned service, std::span<const std::uint8_t> block) {
        services_.try_emplace(service, framesPerSecond_).first->second.push(frame, block);
      },
      [this] {
        for (auto& [number, service] : services_) service.reset();
      });
}

void Cea708Decoder::endFrame(
    std::int64_t frame, const std::function<void(unsigned number, const Cea708Service& service)>& changed) {
  for (auto& [number, service] : services_) {
    service.advance(frame);
    if (service.takeChanged()) changed(number, service);
  }
}

}  // namespace fmp4::captions
