#include "base/crc32_fold.h"

// Highway leaves this target out otherwise.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "base/crc32_fold.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace fmp4 {
namespace HWY_NAMESPACE {

// Without an instruction for it, carry-less multiplication is slower than tables.
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SSSE3
Crc32Folding::Fold getFold() {
  return nullptr;
}
#else
namespace {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::size_t kBlock = Crc32Folding::kBlock;

// The factors that move a block up by `bits`: x to their power, for its first half, which is 64 bits higher,
// and for its second. They are 32 bits lower, as half a block is, and the product is a bit short of two
// halves.
template <unsigned bits>
struct Factors {
  static constexpr std::uint64_t factor(unsigned power) {
    std::uint32_t value = 0x80000000;
    for (unsigned i = 0; i < power; ++i) value = crc32TimesX(value);
    return std::uint64_t{value} << 1;
  }
  static constexpr std::uint64_t kHalves[2] = {factor(bits + 32), factor(bits - 32)};
};

// One or more blocks side by side, each of two words.
template <std::size_t blocks>
struct Blocks {
  using Words = hn::CappedTag<std::uint64_t, 2 * blocks>;
  using Bytes = hn::Repartition<std::uint8_t, Words>;
  using Vec = hn::Vec<Words>;
  static constexpr std::size_t kBytes = blocks * kBlock;

  static HWY_INLINE Vec load(const std::uint8_t* bytes) {
    return hn::BitCast(Words(), hn::LoadU(Bytes(), bytes));
  }
  static HWY_INLINE void store(Vec vec, std::uint8_t* bytes) {
    hn::StoreU(hn::BitCast(Bytes(), vec), Bytes(), bytes);
  }
  // Those at the start of the bytes that follow `state`.
  static HWY_INLINE Vec loadFirst(const std::uint8_t* bytes, std::uint32_t state) {
    const std::uint64_t start[2 * blocks] = {state};
    return hn::Xor(load(bytes), hn::LoadU(Words(), start));
  }
  template <unsigned bits>
  static HWY_INLINE Vec factorsFor() {
    return hn::LoadDup128(Words(), Factors<bits>::kHalves);
  }
  // `vec` moved up by what `factors` stand for, plus `next`.
  static HWY_INLINE Vec fold(Vec vec, Vec factors, Vec next) {
    return hn::Xor(next, hn::Xor(hn::CLMulLower(vec, factors), hn::CLMulUpper(vec, factors)));
  }
};

// As many blocks as one instruction multiplies.
using Wide = Blocks<HWY_TARGET == HWY_AVX3_DL ? 4 : 1>;
using One = Blocks<1>;

// Four vectors side by side hide the latency of the products.
std::size_t foldAll(std::uint32_t state, std::span<const std::uint8_t> bytes, Crc32Folding::Block& block) {
  constexpr std::size_t kVec = Wide::kBytes, kStep = 4 * kVec;
  const std::uint8_t* at = bytes.data();
  std::size_t left = bytes.size();
  const One::Vec byBlock = One::factorsFor<8 * kBlock>();
  One::Vec sum;
  if (left >= kStep) {
    Wide::Vec a = Wide::loadFirst(at, state), b = Wide::load(at + kVec), c = Wide::load(at + 2 * kVec),
              d = Wide::load(at + 3 * kVec);
    const Wide::Vec byStep = Wide::factorsFor<8 * kStep>(), byVec = Wide::factorsFor<8 * kVec>();
    for (at += kStep, left -= kStep; left >= kStep; at += kStep, left -= kStep) {
      a = Wide::fold(a, byStep, Wide::load(at));
      b = Wide::fold(b, byStep, Wide::load(at + kVec));
      c = Wide::fold(c, byStep, Wide::load(at + 2 * kVec));
      d = Wide::fold(d, byStep, Wide::load(at + 3 * kVec));
    }
    std::uint8_t folded[kVec];
    Wide::store(Wide::fold(Wide::fold(Wide::fold(a, byVec, b), byVec, c), byVec, d), folded);
    sum = One::load(folded);
    for (std::size_t i = kBlock; i < kVec; i += kBlock) sum = One::fold(sum, byBlock, One::load(folded + i));
  } else {
    sum = One::loadFirst(at, state);
    at += kBlock;
    left -= kBlock;
  }
  for (; left >= kBlock; at += kBlock, left -= kBlock) sum = One::fold(sum, byBlock, One::load(at));
  One::store(sum, block.data());
  return bytes.size() - left;
}

}  // namespace

Crc32Folding::Fold getFold() {
  return foldAll;
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace fmp4
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fmp4 {

Crc32Folding::Fold Crc32Folding::of(InstructionSet set) {
  static constexpr decltype(&HWY_STATIC_DISPATCH(getFold)) kBuilds[] = VL_BUILDS_BY_INSTRUCTION_SET(getFold);
  return buildFor(set, kBuilds)();
}

}  // namespace fmp4
#endif
