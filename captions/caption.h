// A displayed caption: what is on the screen at one moment, whichever standard it came in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fmp4::captions {

// A colour of CTA-708-E: each component 0 to 3. CEA-608 uses 0 and 3 only.
struct Colour {
  std::uint8_t red = 0, green = 0, blue = 0;
  bool operator==(const Colour&) const = default;
};

inline constexpr Colour kWhite = {3, 3, 3};
inline constexpr Colour kBlack = {0, 0, 0};

// In the order of CTA-708-E's codes.
enum class Opacity : std::uint8_t { Solid, Flash, Translucent, Transparent };

struct TextStyle {
  Colour foreground = kWhite;
  Opacity foregroundOpacity = Opacity::Solid;
  Colour background = kBlack;
  Opacity backgroundOpacity = Opacity::Solid;
  bool italics = false;
  bool underline = false;
  bool operator==(const TextStyle&) const = default;
};

// Each in the order of CTA-708-E's codes.
enum class PenSize : std::uint8_t { Small, Standard, Large };
enum class PenOffset : std::uint8_t { Subscript, Normal, Superscript };
enum class Font : std::uint8_t {
  Default,
  MonospacedSerif,
  ProportionalSerif,
  MonospacedSans,
  ProportionalSans,
  Casual,
  Cursive,
  SmallCapitals
};
// Of characters, and of windows as their border.
enum class Edge : std::uint8_t { None, Raised, Depressed, Uniform, LeftShadow, RightShadow };

// What a pen of CTA-708-E has beside its style.
struct TextShape {
  PenSize size = PenSize::Standard;
  PenOffset offset = PenOffset::Normal;
  Font font = Font::Default;
  Edge edge = Edge::None;
  Colour edgeColour = kBlack;
  bool operator==(const TextShape&) const = default;
};

// One position of a character grid.
struct Cell {
  char16_t character = 0;  // 0: nothing is displayed
  TextStyle style;
  TextShape shape = {};
  bool operator==(const Cell&) const = default;
};

// Characters of one style, in UTF-8.
struct TextRun {
  std::string text;
  TextStyle style;
  bool operator==(const TextRun&) const = default;
};

// A row of text from its first visible character to its last.
struct TextRow {
  unsigned row = 0;     // of its grid, from the top, from 0
  unsigned column = 0;  // of the first character, from 0
  unsigned width = 0;   // columns
  std::vector<TextRun> runs;
  bool operator==(const TextRow&) const = default;

  // Without styles.
  std::string text() const;
};

enum class Alignment { Left, Centre, Right };

// Adjacent rows that are aligned with each other. The grid of 15 rows covers the safe title area, the middle
// 80 percent of the picture in both directions.
struct TextBlock {
  unsigned window = 0;  // CEA-708: 0 to 7
  // Of the picture, in percent: the top of the first row, and the left edge, centre or right edge.
  double top = 0;
  double across = 0;
  Alignment alignment = Alignment::Left;
  std::vector<TextRow> rows;
  bool operator==(const TextBlock&) const = default;
};

// All that is on the screen; empty when nothing is.
struct Caption {
  std::vector<TextBlock> blocks;
  bool operator==(const Caption&) const = default;

  bool empty() const { return blocks.empty(); }
};

// The safe title area and its rows, in percent of the picture.
inline constexpr double kSafeStart = 10;
inline constexpr double kSafeExtent = 80;
inline constexpr double kRowHeight = kSafeExtent / 15;

// The visible text of `count` cells; no runs when there is none.
TextRow textRowOf(const Cell* cells, unsigned count, unsigned row);

// Appends a character of the basic multilingual plane in UTF-8; surrogates become "_".
void appendUtf8(std::string& text, char16_t character);

}  // namespace fmp4::captions
