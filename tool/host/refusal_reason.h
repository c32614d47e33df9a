// Why a file cannot be read, in words for the user, ending with what to do next.
#pragma once

#include <optional>
#include <string>

namespace fmp4 {

struct Refusal {
  const char* code;  // a stable name (docs/json.md)
  std::string text;  // what follows the name of the file: "is a folder; ..."
};

// Why no file of this name can be read; nothing when it can be.
std::optional<Refusal> fileTrouble(const std::string& file);

// Why `file` cannot be the source of a recording; nothing when it has a movie.
std::optional<Refusal> sourceTrouble(const std::string& file);

// Why `file` does not begin with a box; nothing when it begins like an MP4.
std::optional<Refusal> boxTrouble(const std::string& file);

// Why the plug-in's probe refuses `file`.
Refusal probeRefusal(const std::string& file);

// Why `file`, which the probe accepts, cannot be opened; nothing when no reason is found without opening it.
std::optional<Refusal> openTrouble(const std::string& file);

// Why it was not opened, as a sentence. `logged`: the last error that the plug-in logged meanwhile, empty
// when there was none.
std::string openRefusal(const std::string& file, const std::string& logged);

// The command that converts an MP4 into a fragmented file.
std::string fragmentingCommand(const std::string& file);
// The command that makes a recording of an MP4, beside it.
std::string packagingCommand(const std::string& file);

}  // namespace fmp4
