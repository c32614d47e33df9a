#include "audio/umc/ac3/transform.h"

#include <algorithm>

#include "audio/umc/mdct_windows.h"
#include "dsp/ipps_mdct.h"
#include "dsp/ipps_memory.h"
#include "dsp/ipps_vector.h"

namespace UMC::ac3 {

namespace {

constexpr double kAlpha = 5;
constexpr std::size_t kHalf = kBlockSamples / 2;
constexpr std::size_t kQuarter = kHalf / 2;

// The primitive divides by half its length, the standard does not; its sign is inverted; and overlap-add
// doubles.
constexpr float kLongScale = -2.0f * 32768 * kBlockSamples;
// The two short transforms have half the length.
constexpr float kShortScale = 0.5f;

// A prepared transform with its own storage. It is large enough for both lengths; tests verify it.
class Plan {
 public:
  explicit Plan(int length) {
    Ipp32s planBytes = 0, workBytes = 0;
    ippsMDCTInvGetSize_32f(length, &planBytes, &workBytes);
    if (static_cast<std::size_t>(planBytes) <= sizeof m_memory &&
        static_cast<std::size_t>(workBytes) <= sizeof TransformScratch::work) {
      ippsMDCTInvInit_32f(&m_plan, length, m_memory);
    }
  }
  Plan(const Plan&) = delete;
  Plan& operator=(const Plan&) = delete;

  void Invert(const float* coefficients, float* samples, TransformScratch& scratch) const {
    ippsMDCTInv_32f(coefficients, samples, m_plan, scratch.work);
  }

 private:
  alignas(kIppsAlignment) std::uint8_t m_memory[4096];
  IppsMDCTInvSpec_32f* m_plan = nullptr;
};

// The window, scaled for the long transform, and the transforms. Nothing is allocated, so this cannot fail.
struct Transforms {
  Transforms() {
    MakeKaiserBesselWindow(kBlockSamples, kAlpha, rise);
    ippsMulC_32f_I(kLongScale, rise, kBlockSamples);
    ippsFlip_32f(rise, fall, kBlockSamples);
  }

  Plan full{2 * kBlockSamples};
  Plan half{kBlockSamples};
  alignas(kIppsAlignment) float rise[kBlockSamples];
  alignas(kIppsAlignment) float fall[kBlockSamples];
};

// Shared by all decoders, created on first use.
const Transforms& SharedTransforms() {
  static const Transforms kTransforms;
  return kTransforms;
}

// Adds a block's two short transforms to its samples. Their phase differs from the primitive's by a quarter
// of their length: the first begins a quarter early, the second a quarter late; outside the primitive's range
// the signal repeats with its sign inverted.
void AddShort(const Transforms& transforms, const float* coefficients, TransformScratch& scratch) {
  float* const halves[2] = {scratch.halves[0], scratch.halves[1]};
  ippsDeinterleave_32f(coefficients, 2, kHalf, halves);
  float* out = scratch.samples;
  const float* half = scratch.shortSamples;
  transforms.half.Invert(halves[0], scratch.shortSamples, scratch);
  ippsAddProductC_32f(half + 3 * kQuarter, -kShortScale, out, kQuarter);
  ippsAddProductC_32f(half, kShortScale, out + kQuarter, 3 * kQuarter);
  out += kBlockSamples;
  transforms.half.Invert(halves[1], scratch.shortSamples, scratch);
  ippsAddProductC_32f(half + kQuarter, kShortScale, out, 3 * kQuarter);
  ippsAddProductC_32f(half, -kShortScale, out + 3 * kQuarter, kQuarter);
}

}  // namespace

void PrepareTransforms() {
  SharedTransforms();
}

const float* SynthesiseBlock(const float* coefficients, const float* switchedCoefficients, int block,
                             Overlap& overlap, TransformScratch& scratch) {
  const Transforms& transforms = SharedTransforms();
  if (coefficients != nullptr) {
    transforms.full.Invert(coefficients, scratch.samples, scratch);
  } else {
    std::fill_n(scratch.samples, 2 * kBlockSamples, 0.0f);
  }
  if (switchedCoefficients != nullptr) AddShort(transforms, switchedCoefficients, scratch);
  float* const samples = overlap.halves[block % 2];
  float* const tail = overlap.halves[(block + 1) % 2];
  ippsAddProduct_32f(scratch.samples, transforms.rise, samples, kBlockSamples);
  ippsMul_32f(scratch.samples + kBlockSamples, transforms.fall, tail, kBlockSamples);
  return samples;
}

}  // namespace UMC::ac3
