// Detects files that the plug-in supports.
#pragma once

#include <cstdint>

namespace fmp4 {

// Probe flag: do not access the file; every name is accepted.
inline constexpr std::uint32_t kProbeNameOnly = 0x40000000u;

// Accepts manifests and Smooth Streaming files by extension, ".xml" files by their root element, and any
// other file that contains a movie fragment. A null or empty name is accepted. Returns 0, or 0xFFFFFFFF after
// reporting the reason.
std::uint32_t probeFile(const char* fileName, std::uint32_t flags);

}  // namespace fmp4
