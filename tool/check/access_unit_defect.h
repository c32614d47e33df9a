// Finds damage in coded video without decoding it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace fmp4 {

// What is wrong with an H.264 access unit whose NAL units follow their lengths of `lengthBytes` (1 to 4,
// ISO/IEC 14496-15, 5.3.3); empty when nothing is. Lengths, headers, byte patterns that no NAL unit has and
// the start of slice headers are looked at; damage inside a slice may pass.
std::string accessUnitDefect(std::span<const std::uint8_t> sample, unsigned lengthBytes);

}  // namespace fmp4
