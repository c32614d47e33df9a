#include "audio/umc/ac3/dynamic_range.h"

namespace UMC::ac3 {

float DynamicRangeGain(std::uint8_t word) {
  // The upper three bits are a signed number of octaves; the others are a fraction in units of 1/32 after an
  // implicit leading one.
  constexpr float kOctaves[8] = {1.0f, 2.0f, 4.0f, 8.0f, 0.0625f, 0.125f, 0.25f, 0.5f};
  const int fraction = 32 + (word & 0x1F);
  return static_cast<float>(fraction) / 32 * kOctaves[word >> 5];
}

}  // namespace UMC::ac3
