// Packaging a file in this process.
#pragma once

#include <string>

namespace fmp4 {

// Records the MP4 `input` as `output`. Throws UserError as the program does.
void packageFile(const std::string& input, const std::string& output);

}  // namespace fmp4
