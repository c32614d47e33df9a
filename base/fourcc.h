// Four-character codes.
#pragma once

#include <cstdint>

namespace fmp4 {

// The code of a four-character text, in file byte order: "avc1" is 0x61766331.
constexpr std::uint32_t Mp4FourCc(const char (&text)[5]) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(text[0])) << 24 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(text[1])) << 16 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(text[2])) << 8 |
         static_cast<std::uint32_t>(static_cast<unsigned char>(text[3]));
}

}  // namespace fmp4
