#include "dynamic_range.h"

#include <cmath>

namespace UMC::ac3 {

float DynamicRangeGain(std::uint8_t word) {
  const int octave = static_cast<std::int8_t>(word) >> 5;  // -4 to 3
  const int fraction = 32 + (word & 0x1F);
  return std::ldexp(static_cast<float>(fraction), octave - 5);
}

}  // namespace UMC::ac3
