#include "captions/cea608_characters.h"

namespace fmp4::captions {

char16_t basicCharacter(std::uint8_t code) {
  switch (code) {
    case 0x27:
      return u'\u2019';
    case 0x2A:
      return u'\u00e1';
    case 0x5C:
      return u'\u00e9';
    case 0x5E:
      return u'\u00ed';
    case 0x5F:
      return u'\u00f3';
    case 0x60:
      return u'\u00fa';
    case 0x7B:
      return u'\u00e7';
    case 0x7C:
      return u'\u00f7';
    case 0x7D:
      return u'\u00d1';
    case 0x7E:
      return u'\u00f1';
    case 0x7F:
      return kSolidBlock;
    default:
      return code;
  }
}

char16_t specialCharacter(std::uint8_t code) {
  static constexpr char16_t kSet[16] = {u'\u00ae', u'\u00b0', u'\u00bd', u'\u00bf', u'\u2122', u'\u00a2',
                                        u'\u00a3', u'\u266a', u'\u00e0', 0,         u'\u00e8', u'\u00e2',
                                        u'\u00ea', u'\u00ee', u'\u00f4', u'\u00fb'};
  return kSet[code & 0x0F];
}

char16_t extendedCharacter(std::uint8_t set, std::uint8_t code) {
  static constexpr char16_t kSpanishFrench[] =
      u"\u00c1\u00c9\u00d3\u00da\u00dc\u00fc\u2018\u00a1*'\u2014\u00a9\u2120\u2022\u201c\u201d"
      u"\u00c0\u00c2\u00c7\u00c8\u00ca\u00cb\u00eb\u00ce\u00cf\u00ef\u00d4\u00d9\u00f9\u00db\u00ab\u00bb";
  static constexpr char16_t kPortugueseGermanDanish[] =
      u"\u00c3\u00e3\u00cd\u00cc\u00ec\u00d2\u00f2\u00d5\u00f5{}\\^_|~"
      u"\u00c4\u00e4\u00d6\u00f6\u00df\u00a5\u00a4\u2502\u00c5\u00e5\u00d8\u00f8\u250c\u2510\u2514\u2518";
  static_assert(sizeof kSpanishFrench == 33 * sizeof(char16_t));
  static_assert(sizeof kPortugueseGermanDanish == 33 * sizeof(char16_t));
  return (set & 1 ? kPortugueseGermanDanish : kSpanishFrench)[code & 0x1F];
}

}  // namespace fmp4::captions
