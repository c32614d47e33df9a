#include "captions/cea708_packets.h"

namespace fmp4::captions {

namespace {

constexpr unsigned kExtendedService = 7;

// Bytes of a packet, header included.
std::size_t packetBytes(std::uint8_t header) {
  const std::size_t code = header & 0x3F;
  return code == 0 ? 128 : code * 2;
}

void takeBlocks(std::span<const std::uint8_t> data, const Cea708Packets::Take& take) {
  while (!data.empty()) {
    unsigned service = data[0] >> 5;
    const std::size_t size = data[0] & 0x1F;
    data = data.subspan(1);
    if (service == 0) return;  // the rest is padding
    if (service == kExtendedService && size != 0) {
      if (data.empty()) return;
      service = data[0] & 0x3F;
      data = data.subspan(1);
    }
    if (size > data.size()) return;
    if (service != 0 && size != 0) take(service, data.first(size));
    data = data.subspan(size);
  }
}

}  // namespace

void Cea708Packets::add(const CcConstruct& construct, const Take& take, const std::function<void()>& lost) {
  if (construct.isPair()) return;
  if (construct.type == CcType::PacketStart) {
    size_ = 0;
    expected_ = construct.valid ? packetBytes(construct.bytes[0]) : 0;
  }
  if (!construct.valid || expected_ == 0) return;
  // Sizes are even, so that a packet ends with a construct.
  packet_[size_++] = construct.bytes[0];
  packet_[size_++] = construct.bytes[1];
  if (size_ == expected_) complete(take, lost);
}

void Cea708Packets::complete(const Take& take, const std::function<void()>& lost) {
  const std::uint8_t sequence = packet_[0] >> 6;
  if (sequence_ && ((*sequence_ + 1) & 3) != sequence) lost();
  sequence_ = sequence;
  takeBlocks(std::span(packet_).first(expected_).subspan(1), take);
  expected_ = 0;
}

}  // namespace fmp4::captions
