// Values as JSON.
#pragma once

#include <string>
#include <string_view>

namespace fmp4 {

// A JSON string, including the quotes. Pure ASCII, so that it is safe on a terminal too; invalid UTF-8 is
// replaced by U+FFFD.
std::string jsonText(std::string_view text);
// A JSON number with the fewest digits that identify the value.
std::string jsonNumber(double value);

}  // namespace fmp4
