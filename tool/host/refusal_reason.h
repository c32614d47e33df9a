// Why a file cannot be read, in words for the user, ending with what to do next.
#pragma once

#include <string>

namespace fmp4 {

// Why the plug-in's probe refuses `file`.
std::string probeRefusal(const std::string& file);

// Why `file`, which the probe accepts, cannot be opened. `logged`: the last error that the plug-in logged
// meanwhile, empty when there was none.
std::string openRefusal(const std::string& file, const std::string& logged);

// The command that converts an MP4 into a fragmented file.
std::string fragmentingCommand(const std::string& file);

}  // namespace fmp4
