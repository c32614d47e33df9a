#include "transform.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "ipps_mdct.h"
#include "ipps_vector.h"
#include "mdct_windows.h"

namespace UMC::ac3 {

struct Transforms {
  struct Prepared {
    std::vector<std::uint8_t> memory;
    IppsMDCTInvSpec_32f* plan = nullptr;
  };

  Prepared whole, half;
  float rise[kBlockSamples];  // of the window, with the scale of the long transform
};

namespace {

constexpr double kAlpha = 5;
constexpr std::size_t kHalf = kBlockSamples / 2;
constexpr std::size_t kQuarter = kHalf / 2;

// The primitive divides by half of its length, where the standard does not; its sign is the other; and
// overlapping doubles.
constexpr float kLongScale = -2.0f * 32768 * kBlockSamples;
// The two short ones are half as long.
constexpr float kShortScale = 0.5f;

bool Prepare(int length, Transforms::Prepared& prepared) {
  Ipp32s planBytes = 0, workBytes = 0;
  if (ippsMDCTInvGetSize_32f(length, &planBytes, &workBytes) != ippStsNoErr ||
      static_cast<std::size_t>(workBytes) > sizeof TransformScratch::work) {
    return false;
  }
  prepared.memory.resize(static_cast<std::size_t>(planBytes));
  return ippsMDCTInvInit_32f(&prepared.plan, length, prepared.memory.data()) == ippStsNoErr;
}

std::unique_ptr<const Transforms> MakeTransforms() {
  try {
    auto made = std::make_unique<Transforms>();
    if (!Prepare(2 * kBlockSamples, made->whole) || !Prepare(kBlockSamples, made->half)) return nullptr;
    MakeKaiserBesselWindow(kBlockSamples, kAlpha, made->rise);
    ippsMulC_32f_I(kLongScale, made->rise, kBlockSamples);
    return made;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// Adds a block's two short transforms to its samples. Their phase differs from that of the primitive by a
// quarter of their length: the first begins a quarter early, the second late, and what lies beyond the
// primitive's range repeats with the other sign.
void AddShort(const Transforms& transforms, const float* coefficients, TransformScratch& scratch) {
  float* const halves[2] = {scratch.halves[0], scratch.halves[1]};
  ippsDeinterleave_32f(coefficients, 2, kHalf, halves);
  float* out = scratch.samples;
  const float* half = scratch.shortSamples;
  ippsMDCTInv_32f(halves[0], scratch.shortSamples, transforms.half.plan, scratch.work);
  ippsAddProductC_32f(half + 3 * kQuarter, -kShortScale, out, kQuarter);
  ippsAddProductC_32f(half, kShortScale, out + kQuarter, 3 * kQuarter);
  out += kBlockSamples;
  ippsMDCTInv_32f(halves[1], scratch.shortSamples, transforms.half.plan, scratch.work);
  ippsAddProductC_32f(half + kQuarter, kShortScale, out, 3 * kQuarter);
  ippsAddProductC_32f(half, -kShortScale, out + 3 * kQuarter, kQuarter);
}

}  // namespace

const Transforms* SharedTransforms() {
  static const std::unique_ptr<const Transforms> kTransforms = MakeTransforms();
  return kTransforms.get();
}

void SynthesiseBlock(const Transforms& transforms, const float* coefficients,
                     const float* switchedCoefficients, Overlap& overlap, TransformScratch& scratch,
                     float* samples) {
  if (coefficients != nullptr) {
    ippsMDCTInv_32f(coefficients, scratch.samples, transforms.whole.plan, scratch.work);
  } else {
    std::fill(std::begin(scratch.samples), std::end(scratch.samples), 0.0f);
  }
  if (switchedCoefficients != nullptr) AddShort(transforms, switchedCoefficients, scratch);
  ippsOverlapAdd_32f(overlap.tail, scratch.samples, transforms.rise, samples, kBlockSamples);
  std::copy_n(scratch.samples + kBlockSamples, kBlockSamples, overlap.tail);
}

}  // namespace UMC::ac3
