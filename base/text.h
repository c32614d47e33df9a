// Values as text.
#pragma once

#include <cstdint>
#include <span>
#include <string>

// Two lower-case hexadecimal digits a byte.
std::string hexText(std::span<const std::uint8_t> bytes);
// `digits` lower-case hexadecimal digits.
std::string hexText(std::uint64_t value, unsigned digits);
// A status word as the host's log writes it: "0xE8024029".
std::string statusText(std::uint32_t status);
// A four-character code (file byte order) as four characters; those that cannot be shown as "\xNN".
std::string fourCcText(std::uint32_t code);
// A text whose lines end in "\n", with the line ends of the system's text files.
std::string systemLines(std::string text);
// A text with the line ends of any system, with "\n".
std::string plainLines(std::string text);
