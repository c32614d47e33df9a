// The filter bank: inverse transform, windows, overlap (ISO/IEC 14496-3, 4.6.11).
#pragma once

#include <cstdint>

#include "audio/umc/aac/core/channel_stream.h"

namespace UMC::aac {

// Samples beyond this come of no valid stream; what feeds back or squares them limits them first.
inline constexpr float kSampleLimit = 0x1p24f;

// A channel's memory from frame to frame.
struct FilterBankState {
  // The second half of the last frame's transform. Its falling slope is not applied yet: it takes the shape
  // of the shorter of the two slopes that meet, which also serves sequences that may not follow each other.
  alignas(16) float tail[kMaxFrameLength];
  std::uint8_t shape;  // window_shape of the last frame; a sine window's before the first
  bool endsShort;      // the falling slope is a short window's
};

// Room for one call.
struct FilterBankScratch {
  alignas(16) float samples[2 * kMaxFrameLength];
  alignas(16) float blocks[kMaxFrameLength + kMaxFrameLength / 4];
  alignas(16) std::uint8_t work[2 * kMaxFrameLength * sizeof(float)];
};

// The windows and transforms of a frame length, shared by all decoders.
struct FilterBank;

// For 1024 or 960 samples a frame. Made by the first caller; null where memory was short then.
const FilterBank* SharedFilterBank(int frameLength);

// Turns a frame's spectrum into its samples in place, full scale being 32768. `sequence` and `shape` are
// those of the frame's ics_info.
void SynthesiseFrame(const FilterBank& bank, WindowSequence sequence, int shape, FilterBankState& state,
                     FilterBankScratch& scratch, float* spectrum);

// The forward direction: the spectrum of `scratch.samples`, a whole window of the frame that follows `state`.
// `sequence` is no short one.
void AnalyseFrame(const FilterBank& bank, WindowSequence sequence, int shape, const FilterBankState& state,
                  FilterBankScratch& scratch, float* spectrum);

// The half of a frame that the next one will overlap with, as its own window alone leaves it.
void WindowedTail(const FilterBank& bank, const FilterBankState& state, float* half);

}  // namespace UMC::aac
