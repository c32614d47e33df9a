// Memory: aligned blocks and byte copies.
#pragma once

#include <cstddef>

#include "dsp/ipps_types.h"

// Every block starts at a multiple of this many bytes.
inline constexpr std::size_t kIppsAlignment = 64;

// A block of `length` bytes, aligned to kIppsAlignment; null when `length` is 0 or memory is short. The
// content is not set. Given back with ippsFree.
Ipp8u* ippsMalloc_8u(std::size_t length);

// Gives back a block of ippsMalloc_8u; null is allowed.
void ippsFree(void* block);

// Copies `length` bytes between areas that do not overlap.
IppStatus ippsCopy_8u(const Ipp8u* source, Ipp8u* destination, std::size_t length);
