#include "base/text.h"

#include <algorithm>
#include <cmath>

namespace fmp4 {

namespace {
constexpr char kLower[] = "0123456789abcdef";
constexpr char kUpper[] = "0123456789ABCDEF";

std::string digitsOf(std::uint64_t value, unsigned count, const char* digits) {
  std::string text(count, '0');
  for (unsigned i = count; i-- > 0; value >>= 4) text[i] = digits[value & 15];
  return text;
}
}  // namespace

std::string hexText(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    text += kLower[byte >> 4];
    text += kLower[byte & 15];
  }
  return text;
}

std::string hexText(std::uint64_t value, unsigned digits) {
  return digitsOf(value, digits, kLower);
}

std::string statusText(std::uint32_t status) {
  return "0x" + digitsOf(status, 8, kUpper);
}

std::string clockText(double seconds) {
  constexpr double kMax = 1e12;
  const auto milliseconds = seconds >= 0 && seconds < kMax
                                ? static_cast<std::uint64_t>(std::llround(seconds * 1000))
                                : std::uint64_t{0};
  std::string text = std::to_string(milliseconds / 3'600'000);
  if (text.size() < 2) text.insert(0, 1, '0');
  // In place, as a line of each frame has two of them.
  const auto add = [&text](char separator, std::uint64_t value, std::size_t digits) {
    text.append(1 + digits, separator);
    for (std::size_t i = text.size(); digits > 0; --digits, value /= 10)
      text[--i] = static_cast<char>('0' + value % 10);
  };
  add(':', milliseconds / 60'000 % 60, 2);
  add(':', milliseconds / 1000 % 60, 2);
  add('.', milliseconds % 1000, 3);
  return text;
}

std::string fourCcText(std::uint32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const std::uint32_t byte = code >> shift & 0xFF;
    if (byte >= 0x20 && byte < 0x7F)
      text += static_cast<char>(byte);
    else
      text += "\\x" + digitsOf(byte, 2, kUpper);
  }
  return text;
}

std::string systemLines(std::string text) {
#if defined(_WIN32)
  std::string lines;
  lines.reserve(text.size() + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
  for (const char c : text) {
    if (c == '\n') lines += '\r';
    lines += c;
  }
  return lines;
#else
  return text;
#endif
}

std::string plainLines(std::string text) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 2, "\r\n") != 0) text[kept++] = text[i];
  }
  text.resize(kept);
  return text;
}

}  // namespace fmp4
