// Why a file cannot be read, in words for the user, ending with what to do next.
#pragma once

#include <optional>
#include <string>

namespace fmp4 {

// Why no file of this name can be read, as the text after its name ("is a folder; ..."); nothing when it can
// be.
std::optional<std::string> fileTrouble(const std::string& file);

// Why `file` cannot be the source of a recording, in the same form; nothing when it has a movie.
std::optional<std::string> sourceTrouble(const std::string& file);

// Why `file` does not begin with a box, in the same form; nothing when it begins like an MP4.
std::optional<std::string> boxTrouble(const std::string& file);

// Why the plug-in's probe refuses `file`.
std::string probeRefusal(const std::string& file);

// Why `file`, which the probe accepts, cannot be opened. `logged`: the last error that the plug-in logged
// meanwhile, empty when there was none.
std::string openRefusal(const std::string& file, const std::string& logged);

// The command that converts an MP4 into a fragmented file.
std::string fragmentingCommand(const std::string& file);

}  // namespace fmp4
