#include "base/crc32_fold.h"

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
using Words = hn::CappedTag<std::uint64_t, 2>;
using Bytes = hn::Repartition<std::uint8_t, Words>;
using Vec = hn::Vec<Words>;

HWY_INLINE Vec load(const std::uint8_t* bytes) {
  return hn::BitCast(Words(), hn::LoadU(Bytes(), bytes));
}

// The factors that move a block up by `bits`: x to their power, for its first half, which is 64 bits higher,
// and for its second. They are 32 bits lower, as half a block is, and the product is a bit short of two
// halves.
template <unsigned bits>
HWY_INLINE Vec factorsFor() {
  constexpr auto factor = [](unsigned power) {
    std::uint32_t value = 0x80000000;
    for (unsigned i = 0; i < power; ++i) value = crc32TimesX(value);
    return std::uint64_t{value} << 1;
  };
  static constexpr std::uint64_t kFactors[2] = {factor(bits + 32), factor(bits - 32)};
  return hn::LoadU(Words(), kFactors);
}

// `block` moved up by what `factors` stand for, plus `next`.
HWY_INLINE Vec fold(Vec block, Vec factors, Vec next) {
  return hn::Xor(next, hn::Xor(hn::CLMulLower(block, factors), hn::CLMulUpper(block, factors)));
}

// Four blocks side by side hide the latency of the products.
std::size_t foldAll(std::uint32_t state, std::span<const std::uint8_t> bytes, Crc32Folding::Block& block) {
  constexpr std::size_t kBlock = Crc32Folding::kBlock, kStep = Crc32Folding::kStep;
  const std::uint8_t* at = bytes.data();
  Vec a = load(at), b = load(at + kBlock), c = load(at + 2 * kBlock), d = load(at + 3 * kBlock);
  const std::uint64_t start[2] = {state, 0};
  a = hn::Xor(a, hn::LoadU(Words(), start));
  const Vec byStep = factorsFor<8 * kStep>(), byBlock = factorsFor<8 * kBlock>();
  std::size_t left = bytes.size() - kStep;
  for (at += kStep; left >= kStep; at += kStep, left -= kStep) {
    a = fold(a, byStep, load(at));
    b = fold(b, byStep, load(at + kBlock));
    c = fold(c, byStep, load(at + 2 * kBlock));
    d = fold(d, byStep, load(at + 3 * kBlock));
  }
  a = fold(fold(fold(a, byBlock, b), byBlock, c), byBlock, d);
  hn::StoreU(hn::BitCast(Bytes(), a), Bytes(), block.data());
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
