// The filter bank: inverse transform, windows, overlap-add (ISO/IEC 14496-3, 4.6.11).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/channel_stream.h"
#include "dsp/ipps_memory.h"

namespace UMC::aac {

// Larger samples occur in no valid stream; tools that feed back or square samples limit them first.
inline constexpr float kSampleLimit = 0x1p24f;

// A channel's filter bank state between frames.
struct FilterBankState {
  // The second half of the last frame's transform. Its falling slope is not applied yet: it takes the shape
  // of the shorter of the two adjacent slopes, which also handles invalid sequences of windows.
  alignas(kIppsAlignment) float tail[kMaxFrameLength];
  std::uint8_t shape;  // window_shape of the last frame; the sine window's before the first
  bool endsShort;      // the falling slope is that of a short window
};

// Work area for one call.
struct FilterBankScratch {
  alignas(kIppsAlignment) float samples[2 * kMaxFrameLength];
  alignas(kIppsAlignment) float blocks[kMaxFrameLength + kMaxFrameLength / 4];
  alignas(kIppsAlignment) std::uint8_t work[2 * kMaxFrameLength * sizeof(float)];
};

// The windows and transforms for a frame length, shared by all decoders.
struct FilterBank;

// For 1024 or 960 samples per frame. Created on first use; null if memory was exhausted.
const FilterBank* SharedFilterBank(int frameLength);

// Transforms a frame's spectrum into samples in place, with full scale 32768. `sequence` and `shape` are from
// the frame's ics_info.
void SynthesiseFrame(const FilterBank& bank, WindowSequence sequence, int shape, FilterBankState& state,
                     FilterBankScratch& scratch, float* spectrum);

// The forward transform: the spectrum of `scratch.samples`, a complete window of the frame that follows
// `state`. `sequence` is not a short one.
void AnalyseFrame(const FilterBank& bank, WindowSequence sequence, int shape, const FilterBankState& state,
                  FilterBankScratch& scratch, float* spectrum);

// The half of a frame that overlaps the next one, with its own window applied.
void WindowedTail(const FilterBank& bank, const FilterBankState& state, float* half);

}  // namespace UMC::aac
