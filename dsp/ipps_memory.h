// Memory: aligned blocks and byte copies.
#pragma once

#include <cstddef>

#include "dsp/ipps_types.h"

namespace UMC {

// Every block is aligned to this many bytes, a cache line. Signals do best with that, too: vectors that cross
// lines cost twice as much.
inline constexpr std::size_t kIppsAlignment = 64;

// Allocates `length` bytes, aligned to kIppsAlignment; null when `length` is 0 or memory is exhausted. The
// content is uninitialised. Freed with ippsFree.
Ipp8u* ippsMalloc_8u(std::size_t length);

// Frees a block from ippsMalloc_8u; null is allowed.
void ippsFree(void* block);

// Copies `length` bytes between buffers that do not overlap.
IppStatus ippsCopy_8u(const Ipp8u* source, Ipp8u* destination, std::size_t length);

}  // namespace UMC
