// The inner loops that exist once per instruction set, and the choice among them.
#pragma once

#include <cstddef>

#include "ipps_types.h"

// One pass of a mixed-radix fast Fourier transform (Stockham's autosorting form): radix x span
// transforms of `radix` points, whose results go in order.
struct FftPass {
  Ipp32s radix;          // 2, 3, 4 or 5
  Ipp32s span;           // points that share a twiddle factor: the product of the earlier radices
  Ipp32s groups;         // points / (radix x span)
  Ipp32s twiddleOffset;  // index of the factors among the plan's values: for each power from 1 to
                         // radix - 1, `groups` real parts, then `groups` imaginary parts
};

inline constexpr int kMaxFftPasses = 8;

// The prepared constants of an inverse MDCT. The values follow the record in memory, so that a plan may be
// moved as a block of bytes.
struct IppsMDCTInvSpec_32f {
  Ipp32s length;  // samples of the windowed result, twice the coefficients
  Ipp32s points;  // length / 4: the transform rests on a complex one of this size
  Ipp32s passCount;
  Ipp32s reserved;
  FftPass passes[kMaxFftPasses];

  // Values: cosine and sine of the rotation before the transform (scale included), then those after it,
  // `points` each, then the twiddle factors.
  [[nodiscard]] const Ipp32f* Values() const { return reinterpret_cast<const Ipp32f*>(this + 1); }
};

// Sizes are in elements; pointers need no alignment.
struct Kernels {
  // See ippsMDCTInv_32f; `work` holds length / 2 values.
  void (*mdctInverse)(const IppsMDCTInvSpec_32f& plan, const Ipp32f* source, Ipp32f* destination,
                      Ipp32f* work);
  // See ippsOverlapAdd_32f.
  void (*overlapAdd)(const Ipp32f* tail, const Ipp32f* head, const Ipp32f* rise, Ipp32f* destination,
                     std::size_t length);
  // See ippsScale_32f_I.
  void (*scaleBands)(Ipp32f* values, const Ipp32f* factors, const Ipp16u* offsets, std::size_t bands);
  // values[i] *= factor
  void (*mulC)(Ipp32f* values, Ipp32f factor, std::size_t length);
  // sums[i] += source[i] * factor
  void (*addProductC)(const Ipp32f* source, Ipp32f factor, Ipp32f* sums, std::size_t length);
  // (a, b) becomes (a + b, a - b)
  void (*butterfly)(Ipp32f* a, Ipp32f* b, std::size_t length);
  // See ippsDeinterleave_32f.
  void (*deinterleave)(const Ipp32f* source, std::size_t channels, std::size_t length,
                       Ipp32f* const* destination);
  // See ippsJoin_32f16s_D2L.
  void (*join)(const Ipp32f* const* source, std::size_t channels, std::size_t length, Ipp16s* destination);
};

// The kernels in plain C++.
const Kernels& PlainKernels();

// The vector kernels for the best instruction set of this machine, or null where there is none or the
// library was built without them.
const Kernels* SimdKernels();

// The kernels in use: chosen once, vector ones where there are any.
const Kernels& ActiveKernels();
