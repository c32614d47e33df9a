// Arithmetic on vectors of samples and coefficients. Lengths are in elements.
#pragma once

#include <cstddef>

#include "dsp/ipps_types.h"

namespace UMC {

// Maximum magnitude of a quantised coefficient (ISO/IEC 14496-3, 4.6.1).
inline constexpr Ipp32s kPow43Limit = 8191;

// destination[i] = sign(source[i]) * |source[i]|^(4/3); magnitudes are clamped to kPow43Limit.
IppStatus ippsPow43_16s32f(const Ipp16s* source, Ipp32f* destination, std::size_t length);

// i^(4/3) for i from 0 to kPow43Limit; computed on first use.
const Ipp32f* Pow43Powers();

// destination[i] = 2^((source[i] - offset) / 4); exponents outside a float's range are clamped to +-120.
IppStatus ippsCalcSF_16s32f(const Ipp16s* source, Ipp32s offset, Ipp32f* destination, std::size_t length);

// Multiplies the values of every band b, at offsets[b] to offsets[b + 1] - 1, by factors[b]. `offsets` holds
// bands + 1 ascending indices.
IppStatus ippsScale_32f_I(Ipp32f* values, const Ipp32f* factors, const Ipp16u* offsets, std::size_t bands);

// values[i] *= factor
IppStatus ippsMulC_32f_I(Ipp32f factor, Ipp32f* values, std::size_t length);

// destination[i] = a[i] * b[i]; `destination` may be `a` or `b`.
IppStatus ippsMul_32f(const Ipp32f* a, const Ipp32f* b, Ipp32f* destination, std::size_t length);

// sums[i] += a[i] * b[i]
IppStatus ippsAddProduct_32f(const Ipp32f* a, const Ipp32f* b, Ipp32f* sums, std::size_t length);

// destination[i] = source[length - 1 - i]; the buffers must not overlap.
IppStatus ippsFlip_32f(const Ipp32f* source, Ipp32f* destination, std::size_t length);

// Clamps the values to [-limit, limit]; NaN becomes 0.
IppStatus ippsLimit_32f_I(Ipp32f limit, Ipp32f* values, std::size_t length);

// sums[i] += source[i] * factor
IppStatus ippsAddProductC_32f(const Ipp32f* source, Ipp32f factor, Ipp32f* sums, std::size_t length);

// (a[i], b[i]) becomes (a[i] + b[i], a[i] - b[i]).
IppStatus ippsButterfly_32f_I(Ipp32f* a, Ipp32f* b, std::size_t length);

// Windows two aliased halves and adds them: destination[i] = tail[i] * rise[length - 1 - i] + head[i] *
// rise[i], where `rise` is the rising half of a symmetric window. `destination` may be `tail` or `head`.
IppStatus ippsOverlapAdd_32f(const Ipp32f* tail, const Ipp32f* head, const Ipp32f* rise, Ipp32f* destination,
                             std::size_t length);

// Deinterleaves: destination[c][i] = source[channels * i + c], `length` values per channel.
IppStatus ippsDeinterleave_32f(const Ipp32f* source, std::size_t channels, std::size_t length,
                               Ipp32f* const* destination);

// Interleaves `channels` vectors of `length` samples as 16-bit integers: rounded to nearest, ties to even,
// saturated; NaN becomes 0. The destination needs no alignment.
IppStatus ippsJoin_32f16s_D2L(const Ipp32f* const* source, std::size_t channels, std::size_t length,
                              Ipp16s* destination);

}  // namespace UMC
