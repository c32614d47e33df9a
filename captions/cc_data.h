// Caption data as digital television carries it: constructs of three bytes (CTA-708-E, 4.3), several a frame,
// in a caption distribution packet (SMPTE ST 334-2).
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace fmp4::captions {

// In the order of cc_type.
enum class CcType : std::uint8_t { Field1, Field2, PacketData, PacketStart };

// One cc_data construct: a CEA-608 byte pair of a field, or two bytes of a CEA-708 caption channel packet.
struct CcConstruct {
  CcType type = CcType::Field1;
  bool valid = false;
  std::array<std::uint8_t, 2> bytes = {};
  bool operator==(const CcConstruct&) const = default;

  bool isPair() const { return type == CcType::Field1 || type == CcType::Field2; }
};

// The most that a frame has: cc_count has five bits.
inline constexpr std::size_t kMaxConstructs = 31;

// Reads constructs, three bytes each; bytes after the last complete one are ignored.
std::vector<CcConstruct> parseConstructs(std::span<const std::uint8_t> bytes);

// The constructs of a caption distribution packet; none when it has none or is damaged. Its checksum is not
// checked: a file does not lose bits as an ancillary data line does, and some writers leave it 0.
std::vector<CcConstruct> parseDistributionPacket(std::span<const std::uint8_t> packet);

// A caption distribution packet of at most kMaxConstructs constructs, with the code for the nearest frame
// rate that it can name. `sequence` counts the packets.
std::vector<std::uint8_t> distributionPacket(std::span<const CcConstruct> constructs, double framesPerSecond,
                                             std::uint16_t sequence);

// Whether a CEA-608 pair displays nothing: null characters with or without parity.
inline bool isNullPair(std::span<const std::uint8_t, 2> pair) {
  return (pair[0] & 0x7F) == 0 && (pair[1] & 0x7F) == 0;
}

}  // namespace fmp4::captions
