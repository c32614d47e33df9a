// The checksums of a sync frame (ATSC A/52, 6.1.7 and 7.10.1).
#pragma once

#include <cstddef>
#include <cstdint>

namespace UMC::ac3 {

// The remainder of `size` bytes, most significant bit first, by x^16 + x^15 + x^2 + 1, from a register of 0:
// 0 for bytes that hold their own checksum.
std::uint16_t CrcRemainder(const std::uint8_t* data, std::size_t size);

}  // namespace UMC::ac3
