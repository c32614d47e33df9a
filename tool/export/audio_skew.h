// How much earlier the audio of a file begins than its video when both are read from their beginning.
#pragma once

#include <string>

namespace fmp4 {

// Seconds from where the plug-in begins to read the audio of `file` to when the first video frame plays: by
// edit lists, decode times and composition offsets, which the plug-in leaves to its host. Negative when the
// audio begins after the video; 0 when there is no video, or the file does not show it.
double audioSkew(const std::string& file);

}  // namespace fmp4
