// The fields of the sample flags in "trex", "tfhd" and "trun" (ISO/IEC 14496-12, 8.8.3.1).
#pragma once

#include <cstdint>

namespace fmp4::mp4 {

inline constexpr std::uint32_t kDependsOnMask = 0x03000000u;    // sample_depends_on
inline constexpr std::uint32_t kDependsOnOthers = 0x01000000u;  // 1: not an I picture
inline constexpr std::uint32_t kDependsOnNone = 0x02000000u;    // 2: an I picture
inline constexpr std::uint32_t kNonSync = 0x00010000u;          // sample_is_non_sync_sample

}  // namespace fmp4::mp4
