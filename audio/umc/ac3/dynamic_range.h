// Dynamic range control words (ATSC A/52, 7.7.1).
#pragma once

#include <cstdint>

namespace UMC::ac3 {

// The gain of a dynrng word: 0.0625 to 15.75; the word 0 means 1.
float DynamicRangeGain(std::uint8_t word);

}  // namespace UMC::ac3
