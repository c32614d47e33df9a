// The captions of a frame as a recording stores them.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "qvr.h"

// The frame's CEA-608 byte pair; 80 80, which shows nothing, where it has none, so that later pairs keep
// their frame.
std::array<std::uint8_t, 2> Cc608PairOf(const DFRAME& frame);

// The frame's CEA-708 packet, of a descriptor's caption area: a caption distribution packet without the word
// and the length ahead of it, or other caption data as it is. Empty where it has none that is sound.
std::span<const std::uint8_t> Cc708PacketOf(const DFRAME& frame);
