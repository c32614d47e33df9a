#include "dsp/ipps_vector.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>

#include "dsp/kernels/kernels.h"

namespace UMC {

namespace {

using Pow43Table = std::array<Ipp32f, kPow43Limit + 1>;

Pow43Table MakePow43Table() {
  Pow43Table table{};
  for (Ipp32s i = 1; i <= kPow43Limit; ++i) {
    table[static_cast<std::size_t>(i)] = static_cast<Ipp32f>(i * std::cbrt(static_cast<double>(i)));
  }
  return table;
}

// 2 to the power of `exponent`; the result is within a float's normal range.
Ipp32f PowerOfTwo(Ipp32s exponent) {
  return std::bit_cast<Ipp32f>(static_cast<Ipp32u>(exponent + 127) << 23);
}

}  // namespace

const Ipp32f* Pow43Powers() {
  static const Pow43Table kTable = MakePow43Table();
  return kTable.data();
}

IppStatus ippsPow43_16s32f(const Ipp16s* source, Ipp32f* destination, std::size_t length) {
  if (source == nullptr || destination == nullptr) return ippStsNullPtrErr;
  const Ipp32f* powers = Pow43Powers();
  for (std::size_t i = 0; i < length; ++i) {
    const Ipp32f power = powers[std::min(std::abs(Ipp32s{source[i]}), kPow43Limit)];
    destination[i] = source[i] < 0 ? -power : power;
  }
  return ippStsNoErr;
}

IppStatus ippsCalcSF_16s32f(const Ipp16s* source, Ipp32s offset, Ipp32f* destination, std::size_t length) {
  if (source == nullptr || destination == nullptr) return ippStsNullPtrErr;
  // 2^(i / 4)
  constexpr Ipp32f kQuarters[4] = {1.0f, 1.18920711500272107f, 1.41421356237309505f, 1.68179283050742909f};
  constexpr Ipp32s kLimit = 480;
  for (std::size_t i = 0; i < length; ++i) {
    const Ipp32s quarters = std::clamp(source[i] - offset, -kLimit, kLimit);
    destination[i] = kQuarters[quarters & 3] * PowerOfTwo(quarters >> 2);
  }
  return ippStsNoErr;
}

IppStatus ippsScale_32f_I(Ipp32f* values, const Ipp32f* factors, const Ipp16u* offsets, std::size_t bands) {
  if (values == nullptr || factors == nullptr || offsets == nullptr) return ippStsNullPtrErr;
  ActiveKernels().scaleBands(values, factors, offsets, bands);
  return ippStsNoErr;
}

IppStatus ippsMulC_32f_I(Ipp32f factor, Ipp32f* values, std::size_t length) {
  if (values == nullptr) return ippStsNullPtrErr;
  ActiveKernels().mulC(values, factor, length);
  return ippStsNoErr;
}

IppStatus ippsMul_32f(const Ipp32f* a, const Ipp32f* b, Ipp32f* destination, std::size_t length) {
  if (a == nullptr || b == nullptr || destination == nullptr) return ippStsNullPtrErr;
  ActiveKernels().mul(a, b, destination, length);
  return ippStsNoErr;
}

IppStatus ippsAddProduct_32f(const Ipp32f* a, const Ipp32f* b, Ipp32f* sums, std::size_t length) {
  if (a == nullptr || b == nullptr || sums == nullptr) return ippStsNullPtrErr;
  ActiveKernels().addProduct(a, b, sums, length);
  return ippStsNoErr;
}

IppStatus ippsFlip_32f(const Ipp32f* source, Ipp32f* destination, std::size_t length) {
  if (source == nullptr || destination == nullptr) return ippStsNullPtrErr;
  std::reverse_copy(source, source + length, destination);
  return ippStsNoErr;
}

IppStatus ippsLimit_32f_I(Ipp32f limit, Ipp32f* values, std::size_t length) {
  if (values == nullptr) return ippStsNullPtrErr;
  ActiveKernels().limit(values, limit, length);
  return ippStsNoErr;
}

IppStatus ippsAddProductC_32f(const Ipp32f* source, Ipp32f factor, Ipp32f* sums, std::size_t length) {
  if (source == nullptr || sums == nullptr) return ippStsNullPtrErr;
  ActiveKernels().addProductC(source, factor, sums, length);
  return ippStsNoErr;
}

IppStatus ippsButterfly_32f_I(Ipp32f* a, Ipp32f* b, std::size_t length) {
  if (a == nullptr || b == nullptr) return ippStsNullPtrErr;
  ActiveKernels().butterfly(a, b, length);
  return ippStsNoErr;
}

IppStatus ippsOverlapAdd_32f(const Ipp32f* tail, const Ipp32f* head, const Ipp32f* rise, Ipp32f* destination,
                             std::size_t length) {
  if (tail == nullptr || head == nullptr || rise == nullptr || destination == nullptr)
    return ippStsNullPtrErr;
  ActiveKernels().overlapAdd(tail, head, rise, destination, length);
  return ippStsNoErr;
}

IppStatus ippsDeinterleave_32f(const Ipp32f* source, std::size_t channels, std::size_t length,
                               Ipp32f* const* destination) {
  if (source == nullptr || destination == nullptr) return ippStsNullPtrErr;
  if (channels == 0) return ippStsSizeErr;
  ActiveKernels().deinterleave(source, channels, length, destination);
  return ippStsNoErr;
}

IppStatus ippsJoin_32f16s_D2L(const Ipp32f* const* source, std::size_t channels, std::size_t length,
                              Ipp16s* destination) {
  if (source == nullptr || destination == nullptr) return ippStsNullPtrErr;
  if (channels == 0) return ippStsSizeErr;
  ActiveKernels().join(source, channels, length, destination);
  return ippStsNoErr;
}

}  // namespace UMC
