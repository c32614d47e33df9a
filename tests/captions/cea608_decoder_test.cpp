#include "captions/cea608_decoder.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/captions/cea608_stream.h"

namespace fmp4 {

namespace {

using captions::Alignment;
using captions::Caption;
using captions::Cea608Channel;
using captions::Cea608Decoder;
using captions::Colour;
using captions::Opacity;
using captions::TextRow;
using captions::TextStyle;
using namespace cea608;

Cea608Decoder decoded(const Pairs& pairs, Cea608Channel channel = Cea608Channel::CC1) {
  Cea608Decoder decoder(channel);
  for (const Pair& pair : pairs) decoder.push(pair[0], pair[1]);
  return decoder;
}

// The rows of the screen, as "row:column:text" from 1 on as the standard counts, joined by "|".
std::string shown(const Cea608Decoder& decoder) {
  std::string all;
  for (const captions::TextBlock& block : decoder.caption().blocks)
    for (const TextRow& row : block.rows)
      all += (all.empty() ? "" : "|") + std::to_string(row.row + 1) + ':' + std::to_string(row.column + 1) +
             ':' + row.text();
  return all;
}
std::string shown(const Pairs& pairs, Cea608Channel channel = Cea608Channel::CC1) {
  return shown(decoded(pairs, channel));
}

TextStyle styleOf(const Cea608Decoder& decoder, unsigned row, unsigned column) {
  return decoder.screen()[row - 1][column - 1].style;
}

const Pairs kPaint = code(RDC) + code(pac(15));

TEST(Cea608, PopOnCaptionsAppearWithEndOfCaption) {
  const Pairs load =
      code(RCL) + code(ENM) + code(pac(14)) + chars("Hello") + code(pacIndent(15, 4)) + chars("you");
  EXPECT_EQ(shown(load), "");
  EXPECT_EQ(shown(load + code(EOC)), "14:1:Hello|15:5:you");
  EXPECT_EQ(shown(load + code(EOC) + code(EDM)), "");
}

TEST(Cea608, PopOnMemoriesSwap) {
  const Pairs first = code(RCL) + code(pac(15)) + chars("one") + code(EOC);
  const Pairs second = code(RCL) + code(pac(1)) + chars("two") + code(EOC);
  EXPECT_EQ(shown(first + second), "1:1:two");
  EXPECT_EQ(shown(first + second + code(EOC)), "15:1:one");
  EXPECT_EQ(shown(first + code(RCL) + code(pac(1)) + chars("x") + code(ENM) + code(EOC)), "");
}

TEST(Cea608, PaintOnCaptionsAppearAtOnce) {
  EXPECT_EQ(shown(kPaint + chars("Ab")), "15:1:Ab");
  EXPECT_EQ(shown(kPaint + chars("Ab") + code(pacIndent(3, 28)) + chars("cd")), "3:29:cd|15:1:Ab");
}

TEST(Cea608, CharactersBeforeAnyModeAreNotDisplayed) {
  EXPECT_EQ(shown(chars("lost") + code(pac(15)) + chars("lost")), "");
}

TEST(Cea608, RowsRollUp) {
  const Pairs lines = code(RU2) + code(CR) + chars("one ") + code(CR) + chars("two ");
  EXPECT_EQ(shown(lines), "14:1:one|15:1:two");
  EXPECT_EQ(shown(lines + code(CR)), "14:1:two");
  EXPECT_EQ(shown(lines + code(CR) + chars("three")), "14:1:two|15:1:three");
  const auto roll = [](unsigned mode) {
    return shown(code(mode) + chars("1") + code(CR) + chars("2") + code(CR) + chars("3") + code(CR) +
                 chars("4") + code(CR) + chars("5"));
  };
  EXPECT_EQ(roll(RU2), "14:1:4|15:1:5");
  EXPECT_EQ(roll(RU3), "13:1:3|14:1:4|15:1:5");
  EXPECT_EQ(roll(RU4), "12:1:2|13:1:3|14:1:4|15:1:5");
}

TEST(Cea608, ARollUpWindowMovesWithItsBaseRowAndStaysOnTheScreen) {
  const Pairs lines = code(RU3) + chars("1") + code(CR) + chars("2") + code(CR) + chars("3");
  EXPECT_EQ(shown(lines + code(pacIndent(8, 4)) + chars("x")), "6:1:1|7:1:2|8:1:3   x");
  EXPECT_EQ(shown(lines + code(pac(1))), "1:1:1|2:1:2|3:1:3");
}

TEST(Cea608, FewerRollUpRowsKeepTheLowestOnes) {
  const Pairs lines = code(RU4) + chars("1") + code(CR) + chars("2") + code(CR) + chars("3");
  EXPECT_EQ(shown(lines + code(RU2)), "14:1:2|15:1:3");
  EXPECT_EQ(shown(lines + code(RU4) + chars("x")), "13:1:1|14:1:2|15:1:3x");
}

TEST(Cea608, RollUpAfterAnotherModeStartsEmptyAtTheBottom) {
  const Pairs popOn = code(RCL) + code(pac(3)) + chars("old") + code(EOC) + code(RCL) + chars("hidden");
  EXPECT_EQ(shown(popOn + code(RU2)), "");
  EXPECT_EQ(shown(popOn + code(RU2) + chars("new")), "15:1:new");
  EXPECT_EQ(shown(popOn + code(RU2) + code(EOC)), "");
}

TEST(Cea608, ACarriageReturnRollsInRollUpOnly) {
  EXPECT_EQ(shown(kPaint + chars("ab") + code(CR) + chars("cd")), "15:1:abcd");
}

TEST(Cea608, BackspaceAndDeleteToEndOfRow) {
  EXPECT_EQ(shown(kPaint + chars("abcd") + code(BS) + chars("x")), "15:1:abcx");
  EXPECT_EQ(shown(kPaint + code(BS) + chars("x")), "15:1:x");
  EXPECT_EQ(shown(kPaint + chars("abcdefgh") + code(pacIndent(15, 4)) + code(DER)), "15:1:abcd");
  EXPECT_EQ(shown(kPaint + chars("abcdefgh") + code(pacIndent(15, 4)) + code(TO1) + code(DER)), "15:1:abcde");
}

TEST(Cea608, TabOffsetsMoveWithoutErasing) {
  EXPECT_EQ(shown(kPaint + code(TO3) + chars("d")), "15:4:d");
  EXPECT_EQ(shown(kPaint + chars("abcd") + code(pac(15)) + code(TO2) + chars("x")), "15:1:abxd");
  EXPECT_EQ(shown(kPaint + code(pacIndent(15, 28)) + code(TO3) + code(TO1) + chars("x")), "15:32:x");
}

TEST(Cea608, TheLastColumnIsOverwritten) {
  EXPECT_EQ(shown(kPaint + code(pacIndent(15, 28)) + chars("abcdef")), "15:29:abcf");
}

TEST(Cea608, PreambleCodesReachEveryRow) {
  for (unsigned row = 1; row <= 15; ++row)
    EXPECT_EQ(shown(code(RDC) + code(pac(row)) + chars("x")), std::to_string(row) + ":1:x");
}

TEST(Cea608, PreambleIndents) {
  for (unsigned columns = 0; columns <= 28; columns += 4)
    EXPECT_EQ(shown(code(RDC) + code(pacIndent(9, columns)) + chars("x")),
              "9:" + std::to_string(columns + 1) + ":x");
}

// White, green, blue, cyan, red, yellow, magenta, in the order of the codes.
constexpr Colour kColours[] = {{3, 3, 3}, {0, 3, 0}, {0, 0, 3}, {0, 3, 3}, {3, 0, 0}, {3, 3, 0}, {3, 0, 3}};

TEST(Cea608, PreambleColours) {
  for (unsigned i = 0; i < 7; ++i) {
    const auto plain = decoded(code(RDC) + code(pac(15, 2 * i)) + chars("x"));
    EXPECT_EQ(styleOf(plain, 15, 1), (TextStyle{.foreground = kColours[i]})) << i;
    const auto underlined = decoded(code(RDC) + code(pac(15, 2 * i + 1)) + chars("x"));
    EXPECT_EQ(styleOf(underlined, 15, 1), (TextStyle{.foreground = kColours[i], .underline = true})) << i;
  }
  const auto italics = decoded(code(RDC) + code(pac(15, 14)) + chars("x"));
  EXPECT_EQ(styleOf(italics, 15, 1), (TextStyle{.italics = true}));
}

TEST(Cea608, MidRowCodesOccupyAPosition) {
  for (unsigned i = 0; i < 7; ++i) {
    const auto decoder = decoded(kPaint + chars("a") + code(0x1120 + 2 * i + 1) + chars("b"));
    EXPECT_EQ(shown(decoder), "15:1:a b");
    EXPECT_EQ(styleOf(decoder, 15, 1), TextStyle{});
    EXPECT_EQ(styleOf(decoder, 15, 3), (TextStyle{.foreground = kColours[i], .underline = true})) << i;
  }
}

TEST(Cea608, ItalicsKeepTheColourAndAColourEndsThem) {
  const auto decoder =
      decoded(kPaint + code(0x1128) + chars("r") + code(0x112E) + chars("i") + code(0x1122) + chars("g"));
  EXPECT_EQ(styleOf(decoder, 15, 2), (TextStyle{.foreground = {3, 0, 0}}));
  EXPECT_EQ(styleOf(decoder, 15, 4), (TextStyle{.foreground = {3, 0, 0}, .italics = true}));
  EXPECT_EQ(styleOf(decoder, 15, 6), (TextStyle{.foreground = {0, 3, 0}}));
}

TEST(Cea608, FlashLastsUntilTheNextMidRowCode) {
  const auto decoder = decoded(kPaint + code(FON) + chars("f") + code(0x1120) + chars("w"));
  EXPECT_EQ(styleOf(decoder, 15, 2).foregroundOpacity, Opacity::Flash);
  EXPECT_EQ(styleOf(decoder, 15, 4).foregroundOpacity, Opacity::Solid);
}

TEST(Cea608, BackgroundAttributesReplaceTheSpaceBeforeThem) {
  const auto blue = decoded(kPaint + chars("a ") + code(0x1024) + chars("b"));
  EXPECT_EQ(shown(blue), "15:1:a b");
  EXPECT_EQ(styleOf(blue, 15, 3), (TextStyle{.background = {0, 0, 3}}));
  const auto translucent = decoded(kPaint + chars(" ") + code(0x1029) + chars("b"));
  EXPECT_EQ(styleOf(translucent, 15, 2),
            (TextStyle{.background = {3, 0, 0}, .backgroundOpacity = Opacity::Translucent}));
  const auto transparent = decoded(kPaint + chars(" ") + code(0x172D) + chars("b"));
  EXPECT_EQ(styleOf(transparent, 15, 2), (TextStyle{.backgroundOpacity = Opacity::Transparent}));
  const auto black = decoded(kPaint + chars(" ") + code(0x172F) + chars("b"));
  EXPECT_EQ(styleOf(black, 15, 2), (TextStyle{.foreground = captions::kBlack, .underline = true}));
}

TEST(Cea608, TheStandardCharacterSet) {
  std::string characters;
  for (char c = 0x20; c < 0x7F; ++c) characters += c;
  std::string all;
  for (std::size_t i = 0; i < characters.size(); i += 24)
    all += decoded(kPaint + chars("|" + characters.substr(i, 24) + "|")).caption().blocks[0].rows[0].text();
  EXPECT_EQ(all,
            "÷ !\"#$%&’()á+,-./01234567÷"
            "÷89:;<=>?@ABCDEFGHIJKLMNO÷"
            "÷PQRSTUVWXYZ[é]íóúabcdefg÷"
            "÷hijklmnopqrstuvwxyzç÷Ññ÷");
}

TEST(Cea608, SpecialCharacters) {
  Pairs pairs = kPaint;
  for (unsigned i = 0; i < 16; ++i) pairs = pairs + code(0x1130 + i);
  EXPECT_EQ(shown(pairs), "15:1:®°½¿™¢£♪à èâêîôû");
}

TEST(Cea608, ExtendedCharactersReplaceTheOneBeforeThem) {
  for (const auto& [set, expected] : {std::pair(0x1220u, "ÁÉÓÚÜü‘¡*'—©℠•“”ÀÂÇÈÊËëÎÏïÔÙùÛ«»"),
                                      std::pair(0x1320u, "ÃãÍÌìÒòÕõ{}\\^_|~ÄäÖöß¥¤│ÅåØø┌┐└┘")}) {
    Pairs pairs = kPaint;
    for (unsigned i = 0; i < 32; ++i) pairs = pairs + chars("?") + code(set + i);
    EXPECT_EQ(shown(pairs), std::string("15:1:") + expected);
  }
}

TEST(Cea608, ARepeatedControlCodeActsOnce) {
  const Pairs lines = code(RU3) + chars("1") + code(CR) + chars("2");
  EXPECT_EQ(shown(lines), "14:1:1|15:1:2");
  EXPECT_EQ(shown(lines + once(CR) + chars("3")), "13:1:1|14:1:2|15:1:3");
  EXPECT_EQ(shown(lines + code(CR) + code(CR)), "13:1:2") << "the third one is new";
  EXPECT_EQ(shown(lines + once(CR) + nulls(1) + once(CR)), "13:1:1|14:1:2") << "at twice the rate";
  EXPECT_EQ(shown(lines + once(CR) + nulls(2) + once(CR)), "13:1:2");
}

TEST(Cea608, ADamagedRepetitionIsARepetition) {
  const Pair damaged = {static_cast<std::uint8_t>(pairOf(CR)[0] ^ 0x80), pairOf(CR)[1]};
  EXPECT_EQ(shown(code(RU2) + chars("1") + once(CR) + Pairs{damaged} + chars("2")), "14:1:1|15:1:2");
}

TEST(Cea608, DamagedBytesAreSolidBlocksAndDamagedCodesIgnored) {
  EXPECT_EQ(shown(kPaint + Pairs{{'a', odd('b')}, {odd('c'), static_cast<std::uint8_t>(odd('d') ^ 0x80)}}),
            "15:1:abc█")
      << "'a' has odd parity without a parity bit";
  EXPECT_EQ(shown(kPaint + Pairs{{static_cast<std::uint8_t>(odd('a') ^ 0x80), odd('b')}}), "15:1:█b");
  const Pair code = pairOf(EDM);
  EXPECT_EQ(shown(kPaint + chars("ab") + Pairs{{code[0], static_cast<std::uint8_t>(code[1] ^ 0x80)}}),
            "15:1:ab");
}

TEST(Cea608, ZeroBytesDisplayNothing) {
  EXPECT_EQ(shown(kPaint + Pairs{{0, 0}, {0x80, 0}} + chars("a") + Pairs{{0x80, odd('b')}}), "15:1:ab");
}

TEST(Cea608, ChannelsOfAFieldAreApart) {
  const Pairs both = code(RDC) + code(pac(15)) + chars("one") + code(inChannel2(RDC)) +
                     code(inChannel2(pac(2))) + chars("two") + code(RDC) + chars("1");
  EXPECT_EQ(shown(both, Cea608Channel::CC1), "15:1:one1");
  EXPECT_EQ(shown(both, Cea608Channel::CC2), "2:1:two");
  EXPECT_EQ(shown(both, Cea608Channel::CC3), "15:1:one1");
  EXPECT_EQ(shown(both, Cea608Channel::CC4), "2:1:two");
}

TEST(Cea608, Field2HasItsOwnMiscellaneousCodes) {
  EXPECT_EQ(shown(code(0x1529) + code(pac(15)) + chars("ab"), Cea608Channel::CC3), "15:1:ab");
  EXPECT_EQ(shown(code(0x1D29) + code(inChannel2(pac(15))) + chars("ab"), Cea608Channel::CC4), "15:1:ab");
}

TEST(Cea608, ExtendedDataServicesAreNotText) {
  const Pairs title = Pairs{{odd(0x01), odd(0x03)}} + chars("Title") + Pairs{{odd(0x0F), odd(0x1C)}};
  EXPECT_EQ(shown(kPaint + chars("ab") + title + chars("no") + code(RDC) + chars("cd"), Cea608Channel::CC3),
            "15:1:abcd");
}

TEST(Cea608, TextModeIsIgnored) {
  EXPECT_EQ(
      shown(kPaint + chars("ab") + code(TR) + chars("text") + code(CR) + code(BS) + code(RDC) + chars("cd")),
      "15:1:abcd");
  EXPECT_EQ(shown(kPaint + chars("ab") + code(RTD) + chars("text") + code(EDM)), "");
}

TEST(Cea608, RowsAtOneEdgeOrCentredAreOneBlock) {
  const auto left =
      decoded(code(RDC) + code(pacIndent(14, 8)) + chars("ab") + code(pacIndent(15, 8)) + chars("abcd"));
  ASSERT_EQ(left.caption().blocks.size(), 1u);
  EXPECT_EQ(left.caption().blocks[0].alignment, Alignment::Left);
  EXPECT_DOUBLE_EQ(left.caption().blocks[0].across, 30);
  EXPECT_DOUBLE_EQ(left.caption().blocks[0].top, 10 + 80.0 * 13 / 15);
  const auto centred = decoded(code(RDC) + code(pacIndent(14, 12)) + chars("abcdefgh") +
                               code(pacIndent(15, 12)) + code(TO2) + chars("abcd"));
  ASSERT_EQ(centred.caption().blocks.size(), 1u);
  EXPECT_EQ(centred.caption().blocks[0].alignment, Alignment::Centre);
  EXPECT_DOUBLE_EQ(centred.caption().blocks[0].across, 50);
  const auto apart = decoded(code(RDC) + code(pacIndent(13, 0)) + chars("ab") + code(pacIndent(14, 8)) +
                             chars("cd") + code(pacIndent(1, 8)) + chars("ef"));
  EXPECT_EQ(apart.caption().blocks.size(), 3u);
}

TEST(Cea608, ReportsChanges) {
  Cea608Decoder decoder(Cea608Channel::CC1);
  const auto changes = [&decoder](const Pairs& pairs) {
    for (const Pair& pair : pairs) decoder.push(pair[0], pair[1]);
    return decoder.takeChanged();
  };
  EXPECT_FALSE(changes(code(RCL) + code(pac(15)) + chars("ab") + nulls(3)));
  EXPECT_TRUE(changes(once(EOC)));
  EXPECT_FALSE(changes(once(EOC)));
}

TEST(Cea608, AnyBytesAreSafe) {
  std::uint32_t state = 1;
  Cea608Decoder decoders[] = {Cea608Decoder(Cea608Channel::CC1), Cea608Decoder(Cea608Channel::CC4)};
  for (int i = 0; i < 200000; ++i) {
    state = state * 1664525 + 1013904223;
    // Mostly valid bytes, so that codes act.
    const auto byte = [](std::uint32_t value) {
      return value % 64 == 0 ? static_cast<std::uint8_t>(value >> 7) : odd(value >> 6);
    };
    for (Cea608Decoder& decoder : decoders) decoder.push(byte(state >> 3), byte(state >> 17));
  }
  for (const Cea608Decoder& decoder : decoders) EXPECT_LE(decoder.caption().blocks.size(), 15u);
}

TEST(Cea608, ACodeBetweenTwoOfTheSameIsNoRepetition) {
  // Backspace, a character, and the same code again: both act.
  EXPECT_EQ(shown(kPaint + chars("abcd") + once(BS) + chars("x ") + once(BS) + chars("y ")), "15:1:abcxy");
}

TEST(Cea608, ARepetitionWithADamagedFirstByteIsForgiven) {
  Pairs pairs = kPaint + chars("abcd") + once(BS);
  Pair damaged = pairOf(BS);
  damaged[0] ^= 0x80;  // wrong parity
  pairs.push_back(damaged);
  EXPECT_EQ(shown(pairs + chars("x")), "15:1:abcx");
  // Of another first byte, with right parity, it is another code.
  EXPECT_EQ(shown(kPaint + chars("abcd") + once(DER) + once(inChannel2(DER))), "15:1:abcd");
}

TEST(Cea608, SmallerRollUpWindowsLoseTheRowsAbove) {
  const Pairs lines =
      code(RU4) + code(CR) + chars("one ") + code(CR) + chars("two ") + code(CR) + chars("six ");
  EXPECT_EQ(shown(lines), "13:1:one|14:1:two|15:1:six");
  EXPECT_EQ(shown(lines + code(RU2)), "14:1:two|15:1:six");
  EXPECT_EQ(shown(lines + code(RU2) + code(CR)), "14:1:six");
}

TEST(Cea608, PreamblesStartWithAPlainStyle) {
  const Cea608Decoder decoder =
      decoded(kPaint + code(pac(14, 0x0E)) + chars("i ") + code(pacIndent(15, 4)) + chars("p "));
  EXPECT_TRUE(styleOf(decoder, 14, 1).italics);
  EXPECT_FALSE(styleOf(decoder, 15, 5).italics);
  // Codes of row 11 that are not assigned change nothing.
  EXPECT_EQ(shown(kPaint + chars("ab") + code(0x1060) + chars("cd")), "15:1:abcd");
}

TEST(Cea608, TabsEndInTheLastColumn) {
  EXPECT_EQ(
      shown(kPaint + code(pacIndent(15, 28)) + chars("ab") + code(TO3) + chars("c") + code(BS) + chars("d")),
      "15:29:ab d");
}

TEST(Cea608, ARepetitionWhoseFirstByteIsAnotherIsForgivenIfDamaged) {
  const Pair damaged = {static_cast<std::uint8_t>(pairOf(CR)[0] ^ 0x01), pairOf(CR)[1]};
  EXPECT_EQ(shown(code(RU2) + chars("1") + once(CR) + Pairs{damaged} + chars("2")), "14:1:1|15:1:2");
}

TEST(Cea608, BackspaceAfterTabsDeletesTheLastColumnButOne) {
  const Pairs row = kPaint + chars("abcdefghijklmnopqrstuvwxyz012345");
  const Cea608Decoder decoder = decoded(row + code(pacIndent(15, 28)) + code(TO3) + code(TO2) + code(BS));
  EXPECT_EQ(decoder.screen()[14][30].character, 0);
  EXPECT_EQ(decoder.screen()[14][31].character, u'5');
}

}  // namespace

}  // namespace fmp4
