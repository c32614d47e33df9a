// The host's codec utility library.
#pragma once

#include "qvr.h"
#include "vlutil.h"

// Bits of QVRVIDEO::flags that belong to the codec utility library.
inline constexpr std::uint32_t QVR_VIDEO_COMPRESSED = 0x00000001u;

extern "C" {

// The drive flags of a video description, updated from its compression code: sets bit QVR_VIDEO_COMPRESSED
// for everything except uncompressed video and keeps all other bits.
VLHOST_API std::uint32_t fccGetDrFlagsVideo(const QVRVIDEO* video);

}  // extern "C"
