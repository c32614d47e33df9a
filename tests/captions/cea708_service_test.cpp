#include "captions/cea708_service.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/captions/cea708_stream.h"

namespace fmp4 {

namespace {

using captions::Alignment;
using captions::Caption;
using captions::Cea708Service;
using captions::Colour;
using captions::Opacity;
using captions::TextBlock;
using captions::TextRow;
using captions::TextStyle;
using namespace cea708;

// Blocks have 31 bytes at most; codes may continue in the next.
Cea708Service decoded(const Bytes& codes) {
  Cea708Service service(30);
  for (std::size_t i = 0; i < codes.size(); i += 31)
    service.push(0, std::span(codes).subspan(i, std::min<std::size_t>(31, codes.size() - i)));
  return service;
}

// The rows of all blocks, as "window:row:column:text", counted from 0.
std::string shown(const Caption& caption) {
  std::string all;
  for (const TextBlock& block : caption.blocks)
    for (const TextRow& row : block.rows)
      all += (all.empty() ? "" : "|") + std::to_string(block.window) + ':' + std::to_string(row.row) + ':' +
             std::to_string(row.column) + ':' + row.text();
  return all;
}
std::string shown(const Bytes& codes) {
  return shown(decoded(codes).caption());
}

const Bytes kWindow = DFx(0, {});

TEST(Cea708, TextGoesToTheDefinedWindow) {
  EXPECT_EQ(shown(chars("lost") + kWindow + chars("Hello") + ETX), "0:0:0:Hello");
  EXPECT_EQ(shown(kWindow), "");
}

TEST(Cea708, HiddenWindowsAreDisplayedOnRequest) {
  const Bytes hidden = DFx(2, {.visible = false}) + chars("text");
  EXPECT_EQ(shown(hidden), "");
  EXPECT_EQ(shown(hidden + DSW(0x04)), "2:0:0:text");
  EXPECT_EQ(shown(hidden + DSW(0x04) + HDW(0xFF)), "");
  EXPECT_EQ(shown(hidden + TGW(0x04)), "2:0:0:text");
  EXPECT_EQ(shown(hidden + TGW(0x04) + TGW(0x05)), "");
  EXPECT_EQ(shown(hidden + DSW(0xFB)), "");
}

TEST(Cea708, CurrentWindowTakesTextAndPen) {
  const Bytes two = DFx(0, {.vertical = 10}) + chars("zero") + DFx(7, {.vertical = 80}) + chars("seven");
  EXPECT_EQ(shown(two), "0:0:0:zero|7:0:0:seven");
  EXPECT_EQ(shown(two + CWx(0) + chars("!")), "0:0:0:zero!|7:0:0:seven");
  EXPECT_EQ(shown(two + CWx(3) + chars("!")), "0:0:0:zero|7:0:0:seven!") << "a window that is not defined";
}

TEST(Cea708, WindowsAreClearedAndDeleted) {
  const Bytes two = DFx(0, {.vertical = 10}) + chars("zero") + DFx(1, {.vertical = 80}) + chars("one");
  EXPECT_EQ(shown(two + CLW(0x01)), "1:0:0:one");
  EXPECT_EQ(shown(two + CLW(0x02) + chars("x")), "0:0:0:zero|1:0:3:x") << "the pen stays";
  EXPECT_EQ(shown(two + DLW(0x01)), "1:0:0:one");
  EXPECT_EQ(shown(two + DLW(0x02) + chars("lost")), "0:0:0:zero") << "no window is the current one";
  EXPECT_EQ(shown(two + DLW(0x02) + DSW(0x02)), "0:0:0:zero");
  EXPECT_EQ(shown(two + RST + chars("lost")), "");
}

TEST(Cea708, RowsScrollUpFromTheLast) {
  EXPECT_EQ(shown(kWindow + chars("one") + CR + chars("two")), "0:0:0:one|0:1:0:two");
  EXPECT_EQ(shown(kWindow + chars("one") + CR + chars("two") + CR + chars("three")), "0:0:0:two|0:1:0:three");
  EXPECT_EQ(shown(DFx(0, {.rows = 1}) + chars("one") + CR), "");
}

TEST(Cea708, ControlCodes) {
  EXPECT_EQ(shown(kWindow + chars("abc") + BS + chars("x")), "0:0:0:abx");
  EXPECT_EQ(shown(kWindow + BS + chars("x")), "0:0:0:x");
  EXPECT_EQ(shown(kWindow + chars("abc") + HCR + chars("x")), "0:0:0:x");
  EXPECT_EQ(shown(kWindow + chars("abc") + CR + chars("def") + FF + chars("x")), "0:0:0:x");
}

TEST(Cea708, PenLocations) {
  EXPECT_EQ(shown(kWindow + SPL(1, 5) + chars("x")), "0:1:5:x");
  EXPECT_EQ(shown(kWindow + SPL(15, 63) + chars("x")), "0:1:31:x") << "the last of the window";
}

TEST(Cea708, PenAttributesAndColours) {
  const Caption caption = decoded(kWindow + chars("a") + SPA(true, false) + chars("b") + SPA(false, true) +
                                  SPC(0x4F, 0xB0) + chars("c"))
                              .caption();
  ASSERT_EQ(caption.blocks.size(), 1u);
  const auto& runs = caption.blocks[0].rows[0].runs;
  ASSERT_EQ(runs.size(), 3u);
  EXPECT_EQ(runs[0].style, TextStyle{});
  EXPECT_EQ(runs[1].style, (TextStyle{.italics = true}));
  EXPECT_EQ(runs[2].style, (TextStyle{.foreground = {0, 3, 3},
                                      .foregroundOpacity = Opacity::Flash,
                                      .background = {3, 0, 0},
                                      .backgroundOpacity = Opacity::Translucent,
                                      .underline = true}));
}

TEST(Cea708, PredefinedPenStyles) {
  for (unsigned style = 1; style <= 7; ++style) {
    const Caption caption = decoded(DFx(0, {.penStyle = style}) + chars("a")).caption();
    EXPECT_EQ(caption.blocks[0].rows[0].runs[0].style.backgroundOpacity,
              style >= 6 ? Opacity::Transparent : Opacity::Solid)
        << style;
  }
}

TEST(Cea708, ARedefinedWindowKeepsTextPenAndAttributes) {
  const Bytes first =
      DFx(0, {.rows = 2, .columns = 8}) + SPA(true, false) + chars("abcdef") + CR + chars("gh");
  EXPECT_EQ(shown(first + DFx(0, {.rows = 3, .columns = 4}) + chars("i")), "0:0:0:abcd|0:1:0:ghi");
  const Caption caption = decoded(first + DFx(0, {.rows = 3, .columns = 4}) + chars("i")).caption();
  EXPECT_TRUE(caption.blocks[0].rows[1].runs[0].style.italics);
  EXPECT_EQ(caption.blocks[0].rows[1].runs.size(), 1u);
  EXPECT_EQ(shown(first + DFx(0, {.rows = 1, .columns = 8})), "0:0:0:abcdef");
}

TEST(Cea708, TextPastTheEndOfARowIsDroppedUnlessWordsWrap) {
  const Bytes narrow = DFx(0, {.columns = 8});
  EXPECT_EQ(shown(narrow + chars("one two three")), "0:0:0:one two");
  const Bytes wrapping = narrow + SWA(0, true);
  EXPECT_EQ(shown(wrapping + chars("one two three")), "0:0:0:one two|0:1:0:three");
  EXPECT_EQ(shown(wrapping + chars("one twofold")), "0:0:0:one|0:1:0:twofold");
  EXPECT_EQ(shown(wrapping + chars("abcdefghij")), "0:0:0:abcdefgh|0:1:0:ij");
  EXPECT_EQ(shown(wrapping + chars("abcdefgh ij")), "0:0:0:abcdefgh|0:1:0:ij");
  EXPECT_EQ(shown(wrapping + chars("one two three four")), "0:0:0:three|0:1:0:four");
}

// CTA-708-E, 7.1: the four sets.
TEST(Cea708, CharacterSets) {
  EXPECT_EQ(shown(kWindow + chars("~'{") + Bytes{0x7F, 0xA1, 0xE9, 0xFF}), "0:0:0:~'{♪¡éÿ");
  Bytes extended = kWindow + chars("[");
  for (const unsigned code :
       {0x25u, 0x2Au, 0x2Cu, 0x30u, 0x31u, 0x32u, 0x33u, 0x34u, 0x35u, 0x39u, 0x3Au, 0x3Cu, 0x3Du, 0x3Fu,
        0x76u, 0x77u, 0x78u, 0x79u, 0x7Au, 0x7Bu, 0x7Cu, 0x7Du, 0x7Eu, 0x7Fu, 0xA0u, 0x50u, 0xB0u})
    extended = extended + Bytes{0x10, byte(code)};
  EXPECT_EQ(shown(extended), "0:0:0:[…ŠŒ█‘’“”•™šœ℠Ÿ⅛⅜⅝⅞│┐└─┘┌㏄__");
  EXPECT_EQ(shown(kWindow + Bytes{'a', 0x10, 0x20, 0x10, 0x21, 'b'}), "0:0:0:a  b");
  EXPECT_EQ(shown(kWindow + Bytes{0x18, 0xAC, 0x00, 0x18, 0xD8, 0x00}), "0:0:0:가_");
}

// Codes that the sets C0 to C3 do not assign are skipped with their parameters.
TEST(Cea708, UnassignedCodesAreSkipped) {
  const std::pair<unsigned, unsigned> kCodes[] = {{0x01, 0}, {0x11, 1}, {0x17, 1},
                                                  {0x19, 2}, {0x1F, 2}, {0x93, 0}};
  for (const auto& [code, parameters] : kCodes)
    EXPECT_EQ(shown(kWindow + chars("a") + Bytes{byte(code)} + Bytes(parameters, 'x') + chars("b")),
              "0:0:0:ab")
        << code;
  const std::pair<unsigned, unsigned> kExtended[] = {{0x00, 0}, {0x07, 0}, {0x08, 1}, {0x10, 2},
                                                     {0x18, 3}, {0x1F, 3}, {0x80, 4}, {0x88, 5}};
  for (const auto& [code, parameters] : kExtended)
    EXPECT_EQ(shown(kWindow + chars("a") + Bytes{0x10, byte(code)} + Bytes(parameters, 'x') + chars("b")),
              "0:0:0:ab")
        << code;
  EXPECT_EQ(shown(kWindow + chars("a") + Bytes{0x10, 0x90, 0x03, 'x', 'x', 'x'} + chars("b")), "0:0:0:ab");
}

TEST(Cea708, CodesContinueInTheNextBlock) {
  const Bytes codes = DFx(1, {}) + SPL(1, 2) + chars("ab") + DLY(0) + chars("c");
  Cea708Service service(30);
  for (const std::uint8_t code : codes) service.push(0, {&code, 1});
  service.advance(0);
  EXPECT_EQ(shown(service.caption()), "1:1:2:abc");
}

TEST(Cea708, ADelayHoldsWhatFollows) {
  Cea708Service service(30);
  service.push(100, kWindow + chars("a") + DLY(5) + chars("b"));
  EXPECT_EQ(shown(service.caption()), "0:0:0:a");
  service.advance(114);
  EXPECT_EQ(shown(service.caption()), "0:0:0:a");
  service.push(114, chars("c"));
  service.advance(115);
  EXPECT_EQ(shown(service.caption()), "0:0:0:abc");
}

TEST(Cea708, ADelayEndsWithItsCancellationAResetOrAFullBuffer) {
  const auto after = [](const Bytes& more) {
    Cea708Service service(30);
    service.push(0, kWindow + chars("a") + DLY(255) + chars("b"));
    service.push(1, more);
    return shown(service.caption());
  };
  EXPECT_EQ(after(chars("c")), "0:0:0:a");
  EXPECT_EQ(after(DLC + chars("c")), "0:0:0:abc");
  EXPECT_EQ(after(RST), "");
  EXPECT_EQ(after(RST + kWindow + chars("new")), "0:0:0:new");
  EXPECT_EQ(after(SPL(0, 0x0E) + chars("c")), "0:0:0:a") << "a parameter is no cancellation";
  Cea708Service service(30);
  service.push(0, kWindow + chars("a") + DLY(255));
  for (int i = 0; i < 4; ++i) service.push(1, Bytes(31, ETX[0]));
  EXPECT_EQ(shown(service.caption()), "0:0:0:a");
  service.push(1, Bytes(4, ETX[0]) + chars("b"));
  EXPECT_EQ(shown(service.caption()), "0:0:0:ab");
}

// The corner of each anchor, for a window of 4 rows and 21 columns (half the safe title area) at the middle.
TEST(Cea708, AnchorsPlaceWindows) {
  constexpr double kRow = 80.0 / 15;
  for (unsigned anchor = 0; anchor < 9; ++anchor) {
    const Bytes window =
        DFx(0, {.vertical = 50, .horizontal = 50, .anchor = anchor, .rows = 4, .columns = 21});
    const TextBlock block = decoded(window + chars("x")).caption().blocks.at(0);
    EXPECT_NEAR(block.top, 50 - 2 * kRow * (anchor / 3), 1e-9) << anchor;
    EXPECT_NEAR(block.across, 50 - 20.0 * (anchor % 3), 1e-9) << anchor;
  }
}

TEST(Cea708, AbsoluteAnchorsCountUnitsOfTheSafeTitleArea) {
  const Bytes window = DFx(0, {.relative = false, .vertical = 15, .horizontal = 105});
  const TextBlock block = decoded(window + CR + chars("x")).caption().blocks.at(0);
  EXPECT_NEAR(block.top, 10 + 80.0 * 15 / 75 + 80.0 / 15, 1e-9);
  EXPECT_NEAR(block.across, 50, 1e-9);
}

TEST(Cea708, JustificationAlignsTheRowsOfAWindow) {
  const Bytes window = DFx(0, {.horizontal = 50, .anchor = 1, .rows = 2, .columns = 21});
  const auto aligned = [&window](const Bytes& attributes) {
    const Caption caption = decoded(window + attributes + chars("a") + CR + chars("bc")).caption();
    EXPECT_EQ(caption.blocks.size(), 1u);
    return std::pair(caption.blocks.at(0).alignment, caption.blocks.at(0).across);
  };
  EXPECT_EQ(aligned(SWA(0)), (std::pair(Alignment::Left, 30.0)));
  EXPECT_EQ(aligned(SWA(1)), (std::pair(Alignment::Right, 70.0)));
  EXPECT_EQ(aligned(SWA(2)), (std::pair(Alignment::Centre, 50.0)));
  EXPECT_EQ(aligned(DFx(0, {.horizontal = 50, .anchor = 1, .columns = 21, .windowStyle = 3})),
            (std::pair(Alignment::Centre, 50.0)));
}

TEST(Cea708, ReportsChanges) {
  Cea708Service service(30);
  EXPECT_FALSE(service.takeChanged());
  service.push(0, DFx(0, {.visible = false}));
  service.takeChanged();
  service.push(1, chars("hidden") + ETX);
  EXPECT_FALSE(service.takeChanged());
  service.push(2, DSW(1));
  EXPECT_TRUE(service.takeChanged());
}

TEST(Cea708, BlocksAreListedFromTheTopDown) {
  EXPECT_EQ(shown(DFx(0, {.vertical = 80}) + chars("low") + DFx(1, {.vertical = 10}) + chars("high")),
            "1:0:0:high|0:0:0:low");
}

TEST(Cea708, WindowsAreOfUpTo42Columns) {
  EXPECT_EQ(shown(DFx(0, {.columns = 42}) + SPL(1, 40) + chars("ab")), "0:1:40:ab");
  EXPECT_EQ(shown(DFx(0, {.rows = 4}) + SPL(2, 5) + chars("x")), "0:2:5:x");
}

TEST(Cea708, ASmallerWindowKeepsItsPenInside) {
  EXPECT_EQ(shown(DFx(0, {.rows = 4}) + SPL(3, 0) + chars("gone") + DFx(0, {.rows = 2}) + chars("kept")),
            "0:1:4:kept");
}

TEST(Cea708, AnchorsOutsideTheirGridAreAtItsEdge) {
  const auto topOf = [](unsigned vertical) {
    return decoded(DFx(0, {.relative = false, .vertical = vertical, .anchor = 0}) + chars("x"))
        .caption()
        .blocks.at(0)
        .top;
  };
  EXPECT_DOUBLE_EQ(topOf(100), topOf(75));
  EXPECT_LT(topOf(74), topOf(75));
  const auto acrossOf = [](unsigned anchor) {
    return decoded(DFx(0, {.vertical = 50, .horizontal = 50, .anchor = anchor}) + chars("x"))
        .caption()
        .blocks.at(0)
        .top;
  };
  EXPECT_DOUBLE_EQ(acrossOf(15), acrossOf(8)) << "not assigned: the last";
}

}  // namespace

}  // namespace fmp4
