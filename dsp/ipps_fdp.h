// Frequency-domain prediction: a backward-adaptive second-order predictor for every spectral line (ISO/IEC
// 14496-3, 4.6.7).
#pragma once

#include <cstddef>
#include <cstdint>

#include "dsp/ipps_types.h"

// Lines that are predicted at most, at any sampling frequency.
inline constexpr std::size_t kFdpLines = 672;
// Reset groups are numbered from 1.
inline constexpr std::size_t kFdpResetGroups = 30;

// The predictors of one channel. Values are single-precision numbers cut to their 16 upper bits. Plain data
// that may be moved as a block of bytes; ippsFDPInit_32f makes it valid.
struct IppsFDPState_32f {
  Ipp16u r0[kFdpLines], r1[kFdpLines];  // the lattice's delayed values
  Ipp16u correlation1[kFdpLines], correlation2[kFdpLines];
  Ipp16u variance1[kFdpLines], variance2[kFdpLines];
};

// Makes predictors in their first state of memory that holds anything.
IppStatus ippsFDPInit_32f(IppsFDPState_32f* state);

// Sets all predictors back to their first state.
IppStatus ippsFDPReset_32f(IppsFDPState_32f* state);

// The same for the lines group - 1, group - 1 + 30 and so on; ippStsSizeErr for a group outside 1 to 30.
IppStatus ippsFDPResetGroup_32f(std::size_t group, IppsFDPState_32f* state);

// The same for the lines from `begin` to `end` - 1; ippStsSizeErr beyond kFdpLines.
IppStatus ippsFDPResetLines_32f(std::size_t begin, std::size_t end, IppsFDPState_32f* state);

// Adds its prediction to every line of the bands b whose bit b of `used` is set, and adapts the predictors of
// all lines to what they are then. Band b has the lines from offsets[b] to offsets[b + 1] - 1; ippStsSizeErr
// for more than 64 bands or kFdpLines lines.
IppStatus ippsFDPInv_32f_I(Ipp32f* lines, const Ipp16u* offsets, std::size_t bands, std::uint64_t used,
                           IppsFDPState_32f* state);
