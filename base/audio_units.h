// How much audio an access unit holds.
#pragma once

#include <cstdint>

// PCM frames (one sample of every channel) that an access unit decodes to.
inline constexpr std::uint32_t kAacFrameSamples =
    1024;  // ISO/IEC 14496-3, 4.5.1.1; the core's, where SBR doubles them
inline constexpr std::uint32_t kAc3FrameSamples = 1536;  // ATSC A/52, 5.1
