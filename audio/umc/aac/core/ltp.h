// Long-term prediction of the object type LTP: a frame's spectrum from the signal decoded before (ISO/IEC
// 14496-3, 4.6.6).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::aac {

struct ChannelStream;
struct FilterBank;
struct FilterBankScratch;
struct FilterBankState;

struct LtpData {
  bool present;
  std::uint8_t coefficient;  // ltp_coef
  std::uint16_t lag;         // samples
  std::uint64_t used;        // ltp_long_used: bit of every band
};

// Samples that a lag reaches back at most.
inline constexpr int kLtpPast = 2048;

// A channel's memory from frame to frame; all zeros before the first.
struct LtpState {
  alignas(16) float past[kLtpPast];  // the last samples of the filter bank, full scale being 32768
  int unpredicted;                   // frames in a row that used none of them, up to kLtpFading
};

// So many leave nothing of what was before them in the past and the overlap, whatever the frame length.
inline constexpr int kLtpFading = 4;

// Reads ltp_data() of a long window.
void ParseLtpData(BitWindow& stream, int maxSfb, LtpData& ltp);

// Adds to the spectrum, ahead of TNS, what the stream's prediction gives. `overlap` is the channel's memory
// of the filter bank as the frame before left it.
void ApplyLtp(const FilterBank& bank, const FilterBankState& overlap, LtpState& state,
              FilterBankScratch& scratch, ChannelStream& channel);

// Takes in a frame that the filter bank has made.
void UpdateLtp(const float* samples, int frameLength, LtpState& state);

}  // namespace UMC::aac
