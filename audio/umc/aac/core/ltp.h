// Long-term prediction of the object type LTP: a frame's spectrum predicted from the decoded signal (ISO/IEC
// 14496-3, 4.6.6).
#pragma once

#include <cstdint>

#include "base/bit_window.h"
#include "dsp/ipps_memory.h"

namespace UMC::aac {

struct ChannelStream;
struct FilterBank;
struct FilterBankScratch;
struct FilterBankState;

struct LtpData {
  bool present;
  std::uint8_t coefficient;  // ltp_coef
  std::uint16_t lag;         // samples
  std::uint64_t used;        // ltp_long_used, one bit per band
};

// Maximum reach of a lag, in samples.
inline constexpr int kLtpHistory = 2048;

// A channel's LTP state between frames; all zeros before the first.
struct LtpState {
  alignas(kIppsAlignment) float past[kLtpHistory];  // the last output samples of the filter bank, with full
                                                    // scale 32768
  int unpredicted;  // consecutive frames without prediction, up to kLtpConvergenceFrames
};

// After this many such frames, neither the history nor the overlap contains earlier samples, for any frame
// length.
inline constexpr int kLtpConvergenceFrames = 4;

// Reads ltp_data() of a long window.
void ParseLtpData(fmp4::BitWindow& stream, int maxSfb, LtpData& ltp);

// Adds the stream's prediction to the spectrum, before TNS. `overlap` is the channel's filter bank state
// after the previous frame.
void ApplyLtp(const FilterBank& bank, const FilterBankState& overlap, LtpState& state,
              FilterBankScratch& scratch, ChannelStream& channel);

// Appends a frame of filter bank output to the history.
void UpdateLtp(const float* samples, int frameLength, LtpState& state);

}  // namespace UMC::aac
