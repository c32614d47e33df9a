#include "tool/terminal/box_path.h"

#include <algorithm>
#include <charconv>

namespace fmp4 {

namespace {

// Removes the next character of a type from `text`.
std::optional<std::uint8_t> cutCharacter(std::string_view& text) {
  constexpr std::string_view kEscape = "\\x";
  if (text.empty() || text.front() == '/' || text.front() == '[') return std::nullopt;
  auto code = static_cast<std::uint8_t>(text.front());
  std::size_t length = 1;
  if (text.starts_with(kEscape)) {
    length = 4;
    const std::string_view digits = text.substr(kEscape.size(), 2);
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    if (digits.size() != 2 || parsed.ptr != digits.data() + 2 || parsed.ec != std::errc())
      return std::nullopt;
  }
  text.remove_prefix(length);
  return code;
}

// Removes an index with its brackets from `text`.
std::optional<std::uint64_t> cutIndex(std::string_view& text) {
  const std::size_t close = text.find(']');
  if (close == text.npos) return std::nullopt;
  const std::string_view inside = text.substr(1, close - 1);
  text.remove_prefix(close + 1);
  if (inside == "last") return BoxStep::kLast;
  std::uint32_t index = 0;
  const auto parsed = std::from_chars(inside.data(), inside.data() + inside.size(), index);
  if (parsed.ec != std::errc() || parsed.ptr != inside.data() + inside.size()) return std::nullopt;
  return index;
}

std::optional<BoxStep> cutStep(std::string_view& text) {
  BoxStep step;
  for (int i = 0; i < 4; ++i) {
    const auto code = cutCharacter(text);
    if (!code) return std::nullopt;
    step.type = step.type << 8 | *code;
  }
  if (!text.starts_with('[')) return step;
  const auto index = cutIndex(text);
  if (!index) return std::nullopt;
  step.index = *index;
  return step;
}

}  // namespace

std::optional<std::vector<BoxStep>> parseBoxPath(std::string_view text) {
  std::vector<BoxStep> steps;
  if (text.starts_with('/')) text.remove_prefix(1);
  for (;;) {
    const auto step = cutStep(text);
    if (!step) return std::nullopt;
    steps.push_back(*step);
    if (text.empty()) return steps;
    if (text.front() != '/') return std::nullopt;
    text.remove_prefix(1);
  }
}

}  // namespace fmp4
