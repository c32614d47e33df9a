// Audio that the plug-in reads but cannot decode, and its codec.
#pragma once

#include <string>
#include <vector>

namespace fmp4 {

// For each audio track that the plug-in reads for `name`, a media file or a manifest, in track order: why it
// is not decoded, "MPEG-1 layer 3, object type 0x6B: not supported", or empty if it is. No entries when the
// file cannot be read.
std::vector<std::string> undecodedAudio(const std::string& name);

}  // namespace fmp4
