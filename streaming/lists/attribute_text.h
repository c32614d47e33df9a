// Numbers in the attributes of a manifest.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace fmp4 {

// White space of XML (XML 1.0, 2.3).
inline constexpr std::string_view kXmlWhiteSpace = " \t\r\n";

// Strips surrounding white space: manifests are indented, and edited by hand.
inline std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kXmlWhiteSpace), text.size()));
  return text.substr(0, text.find_last_not_of(kXmlWhiteSpace) + 1);
}

// A number that is all of a text but white space around it.
template <class Number>
std::optional<Number> wholeNumber(std::string_view text) {
  text = trimmed(text);
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// The start offset of a byte range: "1234" in "1234-5678".
inline std::optional<std::uint64_t> startOfRange(std::string_view range) {
  return wholeNumber<std::uint64_t>(range.substr(0, range.find('-')));
}

}  // namespace fmp4
