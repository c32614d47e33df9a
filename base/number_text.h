// Numbers as text that is the same whatever the host's locale is.
#pragma once

#include <charconv>
#include <string>

// With `decimals` digits behind the point, as printf's %f in the "C" locale.
inline std::string fixedText(double value, int decimals) {
  char text[400];  // the largest number has 309 digits ahead of the point
  const auto [end, error] =
      std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
  return error == std::errc() ? std::string(text, end) : std::string();
}
