// ASCII letter case (A to Z), independent of the host's locale.
#pragma once

#include <algorithm>
#include <string_view>

namespace fmp4 {

constexpr char asciiLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return asciiLower(x) == asciiLower(y); });
}

constexpr bool endsIgnoringCase(std::string_view text, std::string_view ending) {
  return text.size() >= ending.size() && equalsIgnoringCase(text.substr(text.size() - ending.size()), ending);
}

}  // namespace fmp4
