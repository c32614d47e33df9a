// The caption area of a descriptor: the CEA-608 pair first, the CEA-708 packet from byte 4 on.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/fourcc.h"

namespace fmp4::caption_area {

inline constexpr std::size_t kPacketStart = 4;
// A caption distribution packet (SMPTE ST 334-2) follows the word 353 and a length byte.
inline constexpr std::size_t kDistributionStart = 7;
inline constexpr std::uint16_t kDistributionWord = 353;

// The box that holds a packet as a sample.
inline constexpr std::uint32_t kPacketBox = Mp4FourCc("ccdp");
inline constexpr std::uint32_t kBoxHeader = 8;

}  // namespace fmp4::caption_area
