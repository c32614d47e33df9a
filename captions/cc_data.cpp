#include "captions/cc_data.h"

#include <algorithm>

namespace captions {

namespace {

// SMPTE ST 334-2, 5: identifier, length, rate, flags, counter; then sections, each with its identifier.
constexpr std::size_t kHeaderBytes = 7;
constexpr std::size_t kConstructBytes = 3;
constexpr std::uint8_t kTimeCodeSection = 0x71;
constexpr std::uint8_t kDataSection = 0x72;
constexpr std::size_t kTimeCodeBytes = 5;

}  // namespace

std::vector<CcConstruct> parseConstructs(std::span<const std::uint8_t> bytes) {
  std::vector<CcConstruct> constructs;
  for (; bytes.size() >= kConstructBytes; bytes = bytes.subspan(kConstructBytes))
    constructs.push_back({static_cast<CcType>(bytes[0] & 3), (bytes[0] & 4) != 0, {bytes[1], bytes[2]}});
  return constructs;
}

std::vector<CcConstruct> parseDistributionPacket(std::span<const std::uint8_t> packet) {
  if (packet.size() < kHeaderBytes || packet[0] != 0x96 || packet[1] != 0x69) return {};
  packet = packet.first(std::min<std::size_t>(packet.size(), packet[2]));
  if (packet.size() < kHeaderBytes) return {};
  auto sections = packet.subspan(kHeaderBytes);
  if (sections.size() >= kTimeCodeBytes && sections[0] == kTimeCodeSection)
    sections = sections.subspan(kTimeCodeBytes);
  if (sections.size() < 2 || sections[0] != kDataSection) return {};
  const std::size_t bytes = (sections[1] & 0x1F) * kConstructBytes;
  sections = sections.subspan(2);
  return parseConstructs(sections.first(std::min(bytes, sections.size())));
}

}  // namespace captions
