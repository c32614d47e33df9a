// Frequency-domain prediction: a backward-adaptive second-order predictor for every spectral line (ISO/IEC
// 14496-3, 4.6.7).
#pragma once

#include <cstddef>
#include <cstdint>

#include "dsp/ipps_types.h"

namespace UMC {

// Maximum number of predicted lines, at any sampling frequency.
inline constexpr std::size_t kFdpLines = 672;
// Reset groups are numbered from 1.
inline constexpr std::size_t kFdpResetGroups = 30;

// The predictors of one channel. Values are single-precision numbers truncated to their upper 16 bits. Plain
// data that may be moved as a block of bytes; ippsFDPInit_32f makes it valid.
struct IppsFDPState_32f {
  Ipp16u r0[kFdpLines], r1[kFdpLines];  // the lattice's delayed values
  Ipp16u correlation1[kFdpLines], correlation2[kFdpLines];
  Ipp16u variance1[kFdpLines], variance2[kFdpLines];
};

// Initialises predictors in memory of any content.
IppStatus ippsFDPInit_32f(IppsFDPState_32f* state);

// Resets all predictors to their initial state.
IppStatus ippsFDPReset_32f(IppsFDPState_32f* state);

// Resets the predictors of lines group - 1, group - 1 + 30 and so on; ippStsSizeErr for a group outside 1 to
// 30.
IppStatus ippsFDPResetGroup_32f(std::size_t group, IppsFDPState_32f* state);

// Resets the predictors of lines `begin` to `end` - 1; ippStsSizeErr beyond kFdpLines.
IppStatus ippsFDPResetLines_32f(std::size_t begin, std::size_t end, IppsFDPState_32f* state);

// Adds the prediction to every line of each band b whose bit in `used` is set, then adapts the predictors of
// all lines to the resulting values. Band b has lines offsets[b] to offsets[b + 1] - 1; ippStsSizeErr for
// more than 64 bands or kFdpLines lines.
IppStatus ippsFDPInv_32f_I(Ipp32f* lines, const Ipp16u* offsets, std::size_t bands, std::uint64_t used,
                           IppsFDPState_32f* state);

}  // namespace UMC
