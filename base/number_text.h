// Numbers as text, independent of the host's locale.
#pragma once

#include <charconv>
#include <string>

namespace fmp4 {

// With `decimals` digits after the decimal point, like printf's %f in the "C" locale.
inline std::string fixedText(double value, int decimals) {
  char text[400];  // the largest number has 309 digits before the decimal point
  const auto [end, error] =
      std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
  return error == std::errc() ? std::string(text, end) : std::string();
}

}  // namespace fmp4
