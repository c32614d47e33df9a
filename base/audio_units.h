// The audio duration of an access unit.
#pragma once

#include <cstdint>

namespace fmp4 {

// PCM frames (one sample of every channel) per decoded access unit.
inline constexpr std::uint32_t kAacFrameSamples =
    1024;  // ISO/IEC 14496-3, 4.5.1.1; for the core, doubled by SBR
inline constexpr std::uint32_t kAc3FrameSamples = 1536;  // ATSC A/52, 5.1

}  // namespace fmp4
