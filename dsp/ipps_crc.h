// Cyclic redundancy checks over bit ranges.
#pragma once

#include <cstddef>

#include "dsp/ipps_types.h"

// Takes `bitCount` bits of `source`, the first of them `bitOffset` bits after the most significant bit of
// its first byte, into the register `*crc`, most significant bit first, nothing reflected. The register and
// the generator polynomial (without its leading term) are left-aligned in 32 bits: a 16-bit code keeps
// them in the upper half. A null `source` stands for zero bits.
IppStatus ippsCRC32_8u(const Ipp8u* source, std::size_t bitOffset, std::size_t bitCount, Ipp32u polynomial,
                       Ipp32u* crc);
