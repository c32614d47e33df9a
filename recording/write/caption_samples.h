// The captions of a frame, as samples of a recording.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "qvr.h"

namespace fmp4 {

// The frame's CEA-608 byte pair; 80 80, which displays nothing, when it has none, so that later pairs stay
// with their frame.
std::array<std::uint8_t, 2> cc608PairOf(const DFRAME& frame);

// The frame's CEA-708 packet, from a descriptor's caption area: a caption distribution packet without the
// word and the length before it, or other caption data unchanged. Empty when there is no valid one.
std::span<const std::uint8_t> cc708PacketOf(const DFRAME& frame);

}  // namespace fmp4
