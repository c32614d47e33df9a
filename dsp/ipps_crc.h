// Cyclic redundancy checks over bit ranges.
#pragma once

#include <cstddef>

#include "dsp/ipps_types.h"

namespace UMC {

// Feeds `bitCount` bits of `source` into the register `*crc`. The first bit is `bitOffset` bits after the
// most significant bit of the first byte; bits go in most significant first, nothing is reflected. The
// register and the generator polynomial (without its leading term) are left-aligned in 32 bits: a 16-bit code
// keeps them in the upper half. A null `source` means zero bits.
IppStatus ippsCRC32_8u(const Ipp8u* source, std::size_t bitOffset, std::size_t bitCount, Ipp32u polynomial,
                       Ipp32u* crc);

}  // namespace UMC
