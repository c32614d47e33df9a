// The caption area of a frame's descriptor: the CEA-608 pair first, the CEA-708 packet from byte 4 on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fmp4::caption_area {

inline constexpr std::size_t kPacketStart = 4;
// A caption distribution packet (SMPTE ST 334-2) follows the word 353 and a length byte.
inline constexpr std::size_t kDistributionStart = 7;
inline constexpr std::uint16_t kDistributionWord = 353;
// What such a packet starts with (SMPTE ST 334-2, 5.2: cdp_identifier).
inline constexpr std::uint16_t kDistributionIdentifier = 0x9669;

}  // namespace fmp4::caption_area
