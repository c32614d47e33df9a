// Whether a file is one that the plug-in handles.
#pragma once

#include <cstdint>

// Flag of a probe that must not look at the file: every name is accepted.
inline constexpr std::uint32_t kProbeNameOnly = 0x40000000u;

// Manifests and Smooth Streaming names are accepted by their extension, ".xml" by its root element, any
// other file when it holds a movie fragment. A null or empty name is accepted. Returns 0, or 0xFFFFFFFF
// after reporting why.
std::uint32_t ProbeFile(const char* fileName, std::uint32_t flags);
