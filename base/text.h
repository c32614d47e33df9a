// Values as text.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace fmp4 {

// Two lower-case hexadecimal digits per byte.
std::string hexText(std::span<const std::uint8_t> bytes);
// `digits` lower-case hexadecimal digits.
std::string hexText(std::uint64_t value, unsigned digits);
// A status word in the format of the host's log: "0xE8024029".
std::string statusText(std::uint32_t status);
// A duration as hours, minutes, seconds and milliseconds: "00:01:23.456", rounded to the nearest. Seconds
// that are negative, not a number or too many for a clock count as 0.
std::string clockText(double seconds);
// A four-character code (file byte order) as four characters; unprintable ones as "\xNN".
std::string fourCcText(std::uint32_t code);
// Converts "\n" line ends to those of the system's text files.
std::string systemLines(std::string text);
// Converts the line ends of any system to "\n".
std::string plainLines(std::string text);

}  // namespace fmp4
