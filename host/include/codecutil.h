// The host's codec utility library.
#pragma once

#include "qvr.h"
#include "vlutil.h"

// Bits of QVRVIDEO::flags that belong to the codec utility library.
inline constexpr std::uint32_t QVR_VIDEO_COMPRESSED = 0x00000001u;

extern "C" {

// The drive flags of a video description, refreshed from its compression code: bit QVR_VIDEO_COMPRESSED
// set for any but uncompressed video, all other bits as they are.
VLHOST_API std::uint32_t fccGetDrFlagsVideo(const QVRVIDEO* video);

}  // extern "C"
