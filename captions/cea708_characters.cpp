#include "captions/cea708_characters.h"

namespace fmp4::captions {

char16_t plainCharacter(std::uint8_t code) {
  return code == 0x7F ? u'\u266a' : char16_t{code};  // ASCII with a music note, ISO 8859-1
}

char16_t extendedSetCharacter(std::uint8_t code) {
  struct Character {
    std::uint8_t code;
    char16_t character;
  };
  static constexpr Character kCharacters[] = {
      {0x20, 0},          // transparent space
      {0x21, 0},          // non-breaking transparent space
      {0x25, u'\u2026'},  // horizontal ellipsis
      {0x2A, u'\u0160'}, {0x2C, u'\u0152'}, {0x30, u'\u2588'}, {0x31, u'\u2018'}, {0x32, u'\u2019'},
      {0x33, u'\u201c'}, {0x34, u'\u201d'}, {0x35, u'\u2022'}, {0x39, u'\u2122'}, {0x3A, u'\u0161'},
      {0x3C, u'\u0153'}, {0x3D, u'\u2120'}, {0x3F, u'\u0178'}, {0x76, u'\u215b'}, {0x77, u'\u215c'},
      {0x78, u'\u215d'}, {0x79, u'\u215e'}, {0x7A, u'\u2502'}, {0x7B, u'\u2510'}, {0x7C, u'\u2514'},
      {0x7D, u'\u2500'}, {0x7E, u'\u2518'}, {0x7F, u'\u250c'}, {0xA0, u'\u33c4'},  // the [CC] icon, the only
                                                                                   // one of G3; the nearest
                                                                                   // character in one
                                                                                   // position
  };
  for (const Character& known : kCharacters)
    if (known.code == code) return known.character;
  return kUnknownCharacter;
}

}  // namespace fmp4::captions
