// The character sets of CEA-708 (CTA-708-E, 7.1).
#pragma once

#include <cstdint>

namespace fmp4::captions {

// Displayed in place of a character that the sets do not have.
inline constexpr char16_t kUnknownCharacter = u'_';

// G0 and G1: `code` 0x20 to 0x7F and 0xA0 to 0xFF.
char16_t plainCharacter(std::uint8_t code);
// G2 and G3, after EXT1: the same codes. 0 for the transparent spaces.
char16_t extendedSetCharacter(std::uint8_t code);

}  // namespace fmp4::captions
