// The caption bytes in a frame's descriptor.
#pragma once

#include <cstdint>
#include <span>

#include "qvr.h"

namespace fmp4 {

// The CEA-608 pair, empty when the frame has none.
std::span<const std::uint8_t> captionPair(const DFRAME& descriptor);
// The CEA-708 packet, as stored in the caption area from byte 4 on; empty when the frame has none.
std::span<const std::uint8_t> captionPacket(const DFRAME& descriptor);

}  // namespace fmp4
