#include "audio/umc/aac/core/filter_bank.h"

#include <algorithm>
#include <memory>
#include <new>

#include "audio/umc/mdct_windows.h"
#include "audio/umc/shared_object.h"
#include "dsp/ipps_mdct.h"
#include "dsp/ipps_vector.h"

namespace UMC::aac {

namespace {

// Enough for the longest transform.
constexpr std::size_t kMaxPlanBytes = 16384;

}  // namespace

struct FilterBank {
  // A transform length with its two windows.
  struct Length {
    std::size_t half = 0;                                    // coefficients; also samples of half a window
    alignas(kIppsAlignment) float rise[2][kMaxFrameLength];  // by window_shape
    alignas(kIppsAlignment) std::uint8_t memory[kMaxPlanBytes];
    IppsMDCTInvSpec_32f* transform = nullptr;
  };

  Length longWindow, shortWindow;
  alignas(kIppsAlignment) std::uint8_t forwardMemory[kMaxPlanBytes];
  IppsMDCTFwdSpec_32f* forward = nullptr;  // of the long window
};

namespace {

constexpr double kLongAlpha = 4;
constexpr double kShortAlpha = 6;

bool Prepare(int half, double alpha, FilterBank::Length& length) {
  length.half = static_cast<std::size_t>(half);
  MakeSineWindow(half, length.rise[kSineShape]);
  MakeKaiserBesselWindow(half, alpha, length.rise[kKaiserBesselShape]);
  Ipp32s planBytes = 0, workBytes = 0;
  if (ippsMDCTInvGetSize_32f(2 * half, &planBytes, &workBytes) != ippStsNoErr ||
      static_cast<std::size_t>(planBytes) > sizeof length.memory ||
      static_cast<std::size_t>(workBytes) > sizeof FilterBankScratch::work) {
    return false;
  }
  return ippsMDCTInvInit_32f(&length.transform, 2 * half, length.memory) == ippStsNoErr;
}

bool PrepareForward(FilterBank& bank) {
  const auto length = static_cast<Ipp32s>(2 * bank.longWindow.half);
  Ipp32s planBytes = 0, workBytes = 0;
  if (ippsMDCTFwdGetSize_32f(length, &planBytes, &workBytes) != ippStsNoErr ||
      static_cast<std::size_t>(planBytes) > sizeof bank.forwardMemory ||
      static_cast<std::size_t>(workBytes) > sizeof FilterBankScratch::work) {
    return false;
  }
  return ippsMDCTFwdInit_32f(&bank.forward, length, bank.forwardMemory) == ippStsNoErr;
}

std::unique_ptr<const FilterBank> MakeFilterBank(int frameLength) {
  std::unique_ptr<FilterBank> bank(new (std::nothrow) FilterBank);
  if (bank == nullptr || !Prepare(frameLength, kLongAlpha, bank->longWindow) ||
      !Prepare(frameLength / 8, kShortAlpha, bank->shortWindow) || !PrepareForward(*bank)) {
    return nullptr;
  }
  return bank;
}

void Transform(const FilterBank::Length& length, const float* spectrum, float* samples,
               FilterBankScratch& scratch) {
  ippsMDCTInv_32f(spectrum, samples, length.transform, scratch.work);
}

// Overlap-adds with a short window's slope in the middle of half a frame: `tail` alone before the slope,
// `head` alone after it.
void OverlapShort(const FilterBank& bank, const float* tail, const float* head, int shape, float* out) {
  const std::size_t half = bank.longWindow.half;
  const std::size_t slope = bank.shortWindow.half;
  const std::size_t start = (half - slope) / 2;
  std::copy(tail, tail + start, out);
  ippsOverlapAdd_32f(tail + start, head + start, bank.shortWindow.rise[shape], out + start, slope);
  std::copy(head + start + slope, head + half, out + start + slope);
}

// The overlap-added eight short windows in the middle of the frame, from the start of the first one. The
// first rising and the last falling slope are not applied yet.
void SynthesiseShort(const FilterBank& bank, int shape, const float* spectrum, FilterBankScratch& scratch) {
  const std::size_t slope = bank.shortWindow.half;
  for (std::size_t i = 0; i < 8; ++i) {
    Transform(bank.shortWindow, spectrum + i * slope, scratch.samples + i * 2 * slope, scratch);
  }
  const float* rise = bank.shortWindow.rise[shape];
  std::copy_n(scratch.samples, slope, scratch.blocks);
  for (std::size_t i = 1; i < 8; ++i) {
    const float* window = scratch.samples + i * 2 * slope;
    ippsOverlapAdd_32f(window - slope, window, rise, scratch.blocks + i * slope, slope);
  }
  std::copy_n(scratch.samples + 15 * slope, slope, scratch.blocks + 8 * slope);
}

// Applies a rising slope to half a frame; a short slope is in the middle, with silence before it and unity
// gain after it.
void ApplyRise(const FilterBank& bank, int shape, bool isShort, float* half) {
  const std::size_t length = bank.longWindow.half;
  const FilterBank::Length& window = isShort ? bank.shortWindow : bank.longWindow;
  const std::size_t start = (length - window.half) / 2;
  std::fill_n(half, start, 0.0f);
  for (std::size_t i = 0; i < window.half; ++i) half[start + i] *= window.rise[shape][i];
}

// The same with a falling slope, with unity gain before a short one and silence after it.
void ApplyFall(const FilterBank& bank, int shape, bool isShort, float* half) {
  const std::size_t length = bank.longWindow.half;
  const FilterBank::Length& window = isShort ? bank.shortWindow : bank.longWindow;
  const std::size_t start = (length - window.half) / 2;
  for (std::size_t i = 0; i < window.half; ++i) half[start + i] *= window.rise[shape][window.half - 1 - i];
  std::fill(half + start + window.half, half + length, 0.0f);
}

}  // namespace

const FilterBank* SharedFilterBank(int frameLength) {
  static SharedObject<FilterBank> shared1024, shared960;
  if (frameLength == 960) return shared960.Get([] { return MakeFilterBank(960); });
  return shared1024.Get([] { return MakeFilterBank(1024); });
}

void SynthesiseFrame(const FilterBank& bank, WindowSequence sequence, int shape, FilterBankState& state,
                     FilterBankScratch& scratch, float* spectrum) {
  const std::size_t half = bank.longWindow.half;
  const std::size_t slope = bank.shortWindow.half;
  const std::size_t start = (half - slope) / 2;
  if (sequence == WindowSequence::kEightShort) {
    SynthesiseShort(bank, shape, spectrum, scratch);
    const float* blocks = scratch.blocks;
    std::copy_n(state.tail, start, spectrum);
    ippsOverlapAdd_32f(state.tail + start, blocks, bank.shortWindow.rise[state.shape], spectrum + start,
                       slope);
    const std::size_t inFrame = half - start;
    std::copy(blocks + slope, blocks + inFrame, spectrum + start + slope);
    std::copy(blocks + inFrame, blocks + 9 * slope, state.tail);
    std::fill(state.tail + start + slope, state.tail + half, 0.0f);
  } else if (state.endsShort || sequence == WindowSequence::kLongStop) {
    Transform(bank.longWindow, spectrum, scratch.samples, scratch);
    OverlapShort(bank, state.tail, scratch.samples, state.shape, spectrum);
    std::copy_n(scratch.samples + half, half, state.tail);
  } else {
    ippsMDCTInvOverlap_32f(spectrum, bank.longWindow.rise[state.shape], state.tail, spectrum,
                           bank.longWindow.transform, scratch.work);
  }
  state.shape = static_cast<std::uint8_t>(shape);
  state.endsShort = sequence == WindowSequence::kEightShort || sequence == WindowSequence::kLongStart;
}

void AnalyseFrame(const FilterBank& bank, WindowSequence sequence, int shape, const FilterBankState& state,
                  FilterBankScratch& scratch, float* spectrum) {
  ApplyRise(bank, state.shape, sequence == WindowSequence::kLongStop, scratch.samples);
  ApplyFall(bank, shape, sequence == WindowSequence::kLongStart, scratch.samples + bank.longWindow.half);
  ippsMDCTFwd_32f(scratch.samples, spectrum, bank.forward, scratch.work);
}

void WindowedTail(const FilterBank& bank, const FilterBankState& state, float* half) {
  std::copy_n(state.tail, bank.longWindow.half, half);
  ApplyFall(bank, state.shape, state.endsShort, half);
}

}  // namespace UMC::aac
