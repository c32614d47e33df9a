// The modified discrete cosine transform and its inverse (ISO/IEC 14496-3, 4.6.11; ATSC A/52, 7.9).
#pragma once

#include "dsp/ipps_types.h"

namespace UMC {

// Prepared transforms: plain data that may be moved as a block of bytes between calls.
struct IppsMDCTInvSpec_32f;
struct IppsMDCTFwdSpec_32f;

// Bytes of the prepared transform of `length` samples, and of the work buffer of one call. The length is a
// multiple of 16, and a quarter of it has no prime factors but 2, 3 and 5; ippStsSizeErr for any other.
IppStatus ippsMDCTInvGetSize_32f(Ipp32s length, Ipp32s* planBytes, Ipp32s* workBytes);

// Prepares a transform in `memory`, which has the size given by ippsMDCTInvGetSize_32f and is aligned for
// floats. `*plan` receives the address of the prepared transform, the start of `memory`.
IppStatus ippsMDCTInvInit_32f(IppsMDCTInvSpec_32f** plan, Ipp32s length, Ipp8u* memory);

// x[i] = 2 / N * sum over k of X[k] * cos(2 pi / N * (i + n0) * (k + 1/2)), n0 = (N / 2 + 1) / 2, for 0 <= i
// < N = length: reads N / 2 coefficients, writes N samples, neither windowed nor overlapped. The buffers must
// not overlap.
IppStatus ippsMDCTInv_32f(const Ipp32f* source, Ipp32f* destination, const IppsMDCTInvSpec_32f* plan,
                          Ipp8u* work);

// The same with its first half overlap-added: that half becomes destination[i] = x[i] * rise[i] + tail[i] *
// rise[N / 2 - 1 - i], for 0 <= i < N / 2, and `tail` then receives the second half. Destination and source
// may be the same.
IppStatus ippsMDCTInvOverlap_32f(const Ipp32f* source, const Ipp32f* rise, Ipp32f* tail, Ipp32f* destination,
                                 const IppsMDCTInvSpec_32f* plan, Ipp8u* work);

// The same for the forward transform.
IppStatus ippsMDCTFwdGetSize_32f(Ipp32s length, Ipp32s* planBytes, Ipp32s* workBytes);
IppStatus ippsMDCTFwdInit_32f(IppsMDCTFwdSpec_32f** plan, Ipp32s length, Ipp8u* memory);

// X[k] = 2 * sum over i of x[i] * cos(2 pi / N * (i + n0) * (k + 1/2)), n0 = (N / 2 + 1) / 2, for 0 <= k < N
// / 2, N = length: reads N windowed samples and writes N / 2 coefficients. The buffers must not overlap.
IppStatus ippsMDCTFwd_32f(const Ipp32f* source, Ipp32f* destination, const IppsMDCTFwdSpec_32f* plan,
                          Ipp8u* work);

}  // namespace UMC
