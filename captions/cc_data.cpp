#include "captions/cc_data.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "base/bytes.h"
#include "base/caption_area.h"

namespace fmp4::captions {

namespace {

using caption_area::kDistributionIdentifier;

// SMPTE ST 334-2, 5: identifier, length, rate, flags, counter; then sections, each with its identifier.
constexpr std::size_t kHeaderBytes = 7;
constexpr std::size_t kConstructBytes = 3;
constexpr std::uint8_t kTimeCodeSection = 0x71;
constexpr std::uint8_t kDataSection = 0x72;
constexpr std::size_t kTimeCodeBytes = 5;
constexpr std::uint8_t kFooterSection = 0x74;
// Caption data are present, and the service is active.
constexpr std::uint8_t kFlags = 0x43;

// cdp_frame_rate, 1 to 8 (SMPTE ST 334-2, table 3).
std::uint8_t frameRateCode(double framesPerSecond) {
  static constexpr double kRates[] = {24000 / 1001.0, 24, 25, 30000 / 1001.0, 30, 50, 60000 / 1001.0, 60};
  const auto nearest = std::min_element(std::begin(kRates), std::end(kRates), [=](double a, double b) {
    return std::abs(a - framesPerSecond) < std::abs(b - framesPerSecond);
  });
  return static_cast<std::uint8_t>(nearest - std::begin(kRates) + 1);
}

}  // namespace

std::vector<CcConstruct> parseConstructs(std::span<const std::uint8_t> bytes) {
  std::vector<CcConstruct> constructs;
  for (; bytes.size() >= kConstructBytes; bytes = bytes.subspan(kConstructBytes))
    constructs.push_back({static_cast<CcType>(bytes[0] & 3), (bytes[0] & 4) != 0, {bytes[1], bytes[2]}});
  return constructs;
}

std::vector<CcConstruct> parseDistributionPacket(std::span<const std::uint8_t> packet) {
  if (packet.size() < kHeaderBytes || Mp4LoadU16(packet.data()) != kDistributionIdentifier) return {};
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

std::vector<std::uint8_t> distributionPacket(std::span<const CcConstruct> constructs, double framesPerSecond,
                                             std::uint16_t sequence) {
  constructs = constructs.first(std::min(constructs.size(), kMaxConstructs));
  const auto high = static_cast<std::uint8_t>(sequence >> 8), low = static_cast<std::uint8_t>(sequence);
  const auto rate = static_cast<std::uint8_t>(frameRateCode(framesPerSecond) << 4 | 0x0F);
  std::vector<std::uint8_t> packet = {
      kDistributionIdentifier >> 8, kDistributionIdentifier & 0xFF, 0, rate, kFlags, high, low, kDataSection};
  packet.push_back(static_cast<std::uint8_t>(0xE0 | constructs.size()));
  for (const CcConstruct& construct : constructs) {
    const unsigned valid = construct.valid ? 4 : 0;
    packet.push_back(static_cast<std::uint8_t>(0xF8 | valid | static_cast<unsigned>(construct.type)));
    packet.insert(packet.end(), construct.bytes.begin(), construct.bytes.end());
  }
  packet.insert(packet.end(), {kFooterSection, high, low, 0});
  packet[2] = static_cast<std::uint8_t>(packet.size());
  // With the checksum all bytes add up to a multiple of 256.
  std::uint8_t sum = 0;
  for (const std::uint8_t byte : packet) sum = static_cast<std::uint8_t>(sum + byte);
  packet.back() = static_cast<std::uint8_t>(-sum);
  return packet;
}

}  // namespace fmp4::captions
