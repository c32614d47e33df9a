// The kernels for every instruction set that Highway can compile for, chosen at run time.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

#include "base/instruction_set.h"
#include "dsp/kernels/kernels.h"
#include "dsp/qmf_plan.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "dsp/kernels/kernels_simd.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/highway.h>

#undef VL_LANES_ATTR
#define VL_LANES_ATTR HWY_ATTR
#undef VL_LANES_INLINE
#define VL_LANES_INLINE HWY_INLINE

HWY_BEFORE_NAMESPACE();
namespace UMC {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SCALAR
// Emulated vectors are no faster than plain code.
const Kernels* GetKernels() {
  return nullptr;
}
#else

namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class D>
class Lanes {
 public:
  using V = hn::Vec<D>;
  static HWY_INLINE std::size_t Count() { return hn::Lanes(D()); }
  static HWY_INLINE V Set(float value) { return hn::Set(D(), value); }
  static HWY_INLINE V Load(const float* p) { return hn::LoadU(D(), p); }
  static HWY_INLINE void Store(V v, float* p) { hn::StoreU(v, D(), p); }
  static HWY_INLINE V Add(V a, V b) { return hn::Add(a, b); }
  static HWY_INLINE V Sub(V a, V b) { return hn::Sub(a, b); }
  static HWY_INLINE V Mul(V a, V b) { return hn::Mul(a, b); }
  static HWY_INLINE V MulAdd(V a, V b, V c) { return hn::MulAdd(a, b, c); }
  static HWY_INLINE V NegMulAdd(V a, V b, V c) { return hn::NegMulAdd(a, b, c); }
  static HWY_INLINE V Neg(V a) { return hn::Neg(a); }
  static HWY_INLINE V Div(V a, V b) { return hn::Div(a, b); }
  static HWY_INLINE V Abs(V a) { return hn::Abs(a); }
  static HWY_INLINE V WhereLess(V a, V b, V x, V y) { return hn::IfThenElse(hn::Lt(a, b), x, y); }
  static HWY_INLINE V Reverse(V a) { return hn::Reverse(D(), a); }
  static HWY_INLINE void LoadPairs(const float* p, V& a, V& b) { hn::LoadInterleaved2(D(), p, a, b); }
  static HWY_INLINE void StorePairs(V a, V b, float* p) { hn::StoreInterleaved2(a, b, D(), p); }
  static HWY_INLINE void Interleave(V a, V b, V& lower, V& upper) {
    if constexpr (hn::MaxLanes(D()) > 4) {
      a = SpreadPairs(a);
      b = SpreadPairs(b);
    }
    lower = hn::InterleaveLower(D(), a, b);
    upper = hn::InterleaveUpper(D(), a, b);
  }
  static HWY_INLINE void StoreQuads(V a, V b, V c, V d, float* p) {
    hn::StoreInterleaved4(a, b, c, d, D(), p);
  }
  static HWY_INLINE void GatherQuads(const float* p, std::size_t pitch, V& a, V& b, V& c, V& d) {
    a = LoadBlocks(D(), p, 4 * pitch);
    b = LoadBlocks(D(), p + pitch, 4 * pitch);
    c = LoadBlocks(D(), p + 2 * pitch, 4 * pitch);
    d = LoadBlocks(D(), p + 3 * pitch, 4 * pitch);
    TransposeBlocks(a, b, c, d);
  }
  static HWY_INLINE void ScatterQuads(V a, V b, V c, V d, float* p, std::size_t pitch) {
    TransposeBlocks(a, b, c, d);
    StoreBlocks(D(), a, p, 4 * pitch);
    StoreBlocks(D(), b, p + pitch, 4 * pitch);
    StoreBlocks(D(), c, p + 2 * pitch, 4 * pitch);
    StoreBlocks(D(), d, p + 3 * pitch, 4 * pitch);
  }
  static HWY_INLINE V PowerOfHalf(const Ipp8u* exponents) {
    const Words words;
    return hn::BitCast(D(), hn::ShiftLeft<23>(hn::Sub(hn::Set(words, 127), Promote(exponents))));
  }
  static HWY_INLINE V WhereZero(const Ipp8u* p, V a, V b) {
    return hn::IfThenElse(hn::RebindMask(D(), hn::Eq(Promote(p), hn::Zero(Words()))), a, b);
  }
  static HWY_INLINE V Draw(Ipp32u state, const Ipp32u* factors, const Ipp32u* terms) {
    const Words words;
    const auto product = hn::Mul(hn::Set(words, state), hn::LoadU(words, factors));
    const auto drawn = hn::Add(product, hn::LoadU(words, terms));
    return hn::ConvertTo(D(), hn::BitCast(hn::Rebind<Ipp32s, D>(), drawn));
  }
  static HWY_INLINE V Clamp(V a, float low, float high) {
    const V number = hn::IfThenElseZero(hn::Eq(a, a), a);
    return hn::Min(hn::Max(number, Set(low)), Set(high));
  }
  static HWY_INLINE auto Round(V a) {
    return hn::DemoteTo(hn::Rebind<Ipp16s, D>(), hn::NearestInt(Clamp(a, -32768.0f, 32767.0f)));
  }
  static HWY_INLINE void StoreRounded(V a, Ipp16s* p) { hn::StoreU(Round(a), hn::Rebind<Ipp16s, D>(), p); }
  // Sums with 1.5 * 2^23 hold numbers rounded to nearest, ties to even, in their lowest bits.
  static HWY_INLINE void StoreRoundedPairs(V a, V b, Ipp16s* p) {
    const Words words;
    const auto first = hn::BitCast(words, hn::Add(Clamp(a, -32768.0f, 32767.0f), Set(0x1.8p23f)));
    const auto second = hn::BitCast(words, hn::Add(Clamp(b, -32768.0f, 32767.0f), Set(0x1.8p23f)));
    const auto pairs = hn::Or(hn::And(first, hn::Set(words, 0xFFFF)), hn::ShiftLeft<16>(second));
    const hn::Repartition<Ipp16s, D> samples;
    hn::StoreU(hn::BitCast(samples, pairs), samples, p);
  }

 private:
  using Words = hn::Rebind<Ipp32u, D>;
  static HWY_INLINE hn::Vec<Words> Promote(const Ipp8u* p) {
    return hn::PromoteTo(Words(), hn::LoadU(hn::Rebind<Ipp8u, D>(), p));
  }
  // Interleaving works in blocks of four values: gives each block two values of the lower half of the vector
  // and two of the upper half.
  static HWY_INLINE V SpreadPairs(V v) {
    static constexpr auto kPlaces = [] {
      std::array<Ipp32s, hn::MaxLanes(D())> places{};
      for (std::size_t i = 0; i < places.size(); ++i)
        places[i] = static_cast<Ipp32s>(i / 4 * 2 + i % 2 + (i % 4 < 2 ? 0 : places.size() / 2));
      return places;
    }();
    return hn::TableLookupLanes(v, hn::SetTableIndices(D(), kPlaces.data()));
  }
  // A vector of blocks of four values that are `pitch` values apart.
  template <class T>
  static HWY_INLINE hn::Vec<T> LoadBlocks(T tag, const float* p, std::size_t pitch) {
    if constexpr (hn::MaxLanes(T()) <= 4) {
      return hn::LoadU(tag, p);
    } else {
      const hn::Half<T> half;
      const std::size_t middle = hn::Lanes(half) / 4 * pitch;
      return hn::Combine(tag, LoadBlocks(half, p + middle, pitch), LoadBlocks(half, p, pitch));
    }
  }
  template <class T>
  static HWY_INLINE void StoreBlocks(T tag, hn::Vec<T> v, float* p, std::size_t pitch) {
    if constexpr (hn::MaxLanes(T()) <= 4) {
      hn::StoreU(v, tag, p);
    } else {
      const hn::Half<T> half;
      StoreBlocks(half, hn::LowerHalf(half, v), p, pitch);
      StoreBlocks(half, hn::UpperHalf(half, v), p + hn::Lanes(half) / 4 * pitch, pitch);
    }
  }
  // Transposes blocks of four times four values.
  static HWY_INLINE void TransposeBlocks(V& a, V& b, V& c, V& d) {
    const V lowerEven = hn::InterleaveLower(D(), a, c), upperEven = hn::InterleaveUpper(D(), a, c);
    const V lowerOdd = hn::InterleaveLower(D(), b, d), upperOdd = hn::InterleaveUpper(D(), b, d);
    a = hn::InterleaveLower(D(), lowerEven, lowerOdd);
    b = hn::InterleaveUpper(D(), lowerEven, lowerOdd);
    c = hn::InterleaveLower(D(), upperEven, upperOdd);
    d = hn::InterleaveUpper(D(), upperEven, upperOdd);
  }
};
using WideLanes = Lanes<hn::ScalableTag<float> >;
using FourLanes = Lanes<hn::CappedTag<float, 4> >;

#include "dsp/kernels/kernels.inl"
#include "dsp/kernels/ps_kernels.inl"
#include "dsp/kernels/sbr_kernels.inl"

}  // namespace

const Kernels* GetKernels() {
  static constexpr Kernels kKernels = {
      MdctInverse, MdctOverlap,  MdctForward,   OverlapAdd,  ScaleBands,   MulC,      Mul,
      AddProduct,  Limit,        AddProductC,   Butterfly,   Deinterleave, Join,      ScaleByExponents,
      QmfAnalysis, QmfSynthesis, SumCovariance, FilterPatch, SumEnergies,  ShapeRows, kPsKernels};
  return &kKernels;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace UMC
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace UMC {

const Kernels* SimdKernels(fmp4::InstructionSet set) {
  static constexpr decltype(&HWY_STATIC_DISPATCH(GetKernels)) kBuilds[] =
      VL_BUILDS_BY_INSTRUCTION_SET(GetKernels);
  return buildFor(set, kBuilds)();
}

}  // namespace UMC
#endif
