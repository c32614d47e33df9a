// The character sets of CEA-608 (ANSI/CTA-608-E, 47 CFR 79.101).
#pragma once

#include <cstdint>

namespace fmp4::captions {

// Displayed in place of a character that was damaged.
inline constexpr char16_t kSolidBlock = u'\u2588';

// The standard set: `code` 0x20 to 0x7F.
char16_t basicCharacter(std::uint8_t code);
// The special set: the low four bits of 0x11 0x30 to 0x3F. 0 for the transparent space.
char16_t specialCharacter(std::uint8_t code);
// The extended sets: 0x12 (Spanish, French) and 0x13 (Portuguese, German, Danish) with `code` 0x20 to 0x3F.
char16_t extendedCharacter(std::uint8_t set, std::uint8_t code);

}  // namespace fmp4::captions
