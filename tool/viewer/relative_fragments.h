// Fragments that give the places of their data from the start of the file, made such that they give them from
// their own start, which players need of a segment (Media Source Extensions, ISO BMFF byte stream format, 3).
#pragma once

#include <cstdint>
#include <span>

namespace fmp4 {

// Changes the movie fragments in `bytes`, whole boxes of a file from offset `position` on, in place. False
// when one cannot be changed so, or is damaged; the bytes are then of no use.
[[nodiscard]] bool makeFragmentsRelative(std::span<std::uint8_t> bytes, std::uint64_t position);

}  // namespace fmp4
