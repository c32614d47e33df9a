#include "captions/cea708_window.h"

#include <algorithm>
#include <utility>

#include "captions/text_grid.h"

namespace fmp4::captions {

namespace {

// The extents of the anchor's grid in a 16:9 picture, and of the safe title area in columns.
constexpr double kVerticalUnits = 75;
constexpr double kHorizontalUnits = 210;
constexpr double kPercentUnits = 100;
constexpr double kColumnWidth = kSafeExtent / 42;

double onScreen(unsigned value, double units) {
  return kSafeStart + kSafeExtent * std::min<double>(value, units) / units;
}

}  // namespace

Cea708Window::Cea708Window(const Cea708Definition& definition, unsigned windowStyle, unsigned penStyle)
    : definition_(definition), cells_(std::size_t{definition.rows} * definition.columns) {
  setStyles(std::max(windowStyle, 1u), std::max(penStyle, 1u));
}

void Cea708Window::redefine(const Cea708Definition& definition, unsigned windowStyle, unsigned penStyle) {
  std::vector<Cell> cells(std::size_t{definition.rows} * definition.columns);
  const unsigned rows = std::min(definition.rows, definition_.rows);
  const unsigned columns = std::min(definition.columns, definition_.columns);
  for (unsigned i = 0; i < rows; ++i)
    std::copy_n(row(i), columns, cells.begin() + std::ptrdiff_t{i} * definition.columns);
  cells_ = std::move(cells);
  definition_ = definition;
  penRow_ = std::min(penRow_, definition.rows - 1);
  penColumn_ = std::min(penColumn_, definition.columns);
  setStyles(windowStyle, penStyle);
}

// CTA-708-E, 8.4.10 and 8.5.12: tables of predefined styles. Fonts and edges are not kept.
void Cea708Window::setStyles(unsigned windowStyle, unsigned penStyle) {
  if (windowStyle != 0) {
    const bool centred = windowStyle == 3 || windowStyle == 6;
    setJustification(centred ? Alignment::Centre : Alignment::Left, windowStyle >= 4 && windowStyle <= 6);
  }
  if (penStyle != 0) {
    pen_ = {};
    if (penStyle >= 6) pen_.backgroundOpacity = Opacity::Transparent;
  }
}

void Cea708Window::setJustification(Alignment alignment, bool wordWrap) {
  alignment_ = alignment;
  wordWrap_ = wordWrap;
}

void Cea708Window::movePen(unsigned row, unsigned column) {
  penRow_ = std::min(row, definition_.rows - 1);
  penColumn_ = std::min(column, definition_.columns - 1);
}

void Cea708Window::write(char16_t character) {
  if (penColumn_ >= definition_.columns) {
    if (!wordWrap_) return;
    if (character == u' ') return carriageReturn();
    wrap();
  }
  row(penRow_)[penColumn_++] = {character, pen_};
}

// Continues the last word of a full row in the next one, and its next character after it.
void Cea708Window::wrap() {
  Cell* const begin = row(penRow_);
  Cell* const end = begin + definition_.columns;
  Cell* word = end;
  while (word != begin && word[-1].character != u' ') --word;
  if (word == begin) return carriageReturn();
  const std::vector<Cell> moved(word, end);
  std::fill(word, end, Cell{});
  carriageReturn();
  std::copy(moved.begin(), moved.end(), row(penRow_));
  penColumn_ = static_cast<unsigned>(moved.size());
}

void Cea708Window::backspace() {
  if (penColumn_ != 0) row(penRow_)[--penColumn_] = {};
}

void Cea708Window::carriageReturn() {
  penColumn_ = 0;
  if (penRow_ + 1 < definition_.rows) {
    ++penRow_;
    return;
  }
  std::move(cells_.begin() + definition_.columns, cells_.end(), cells_.begin());
  std::fill_n(row(penRow_), definition_.columns, Cell{});
}

void Cea708Window::horizontalCarriageReturn() {
  penColumn_ = 0;
  std::fill_n(row(penRow_), definition_.columns, Cell{});
}

void Cea708Window::clear() {
  std::fill(cells_.begin(), cells_.end(), Cell{});
}

void Cea708Window::formFeed() {
  clear();
  penRow_ = penColumn_ = 0;
}

void Cea708Window::addTo(Caption& caption, unsigned number) const {
  const double vertical =
      onScreen(definition_.anchorVertical, definition_.relative ? kPercentUnits : kVerticalUnits);
  const double horizontal =
      onScreen(definition_.anchorHorizontal, definition_.relative ? kPercentUnits : kHorizontalUnits);
  TextGrid grid;
  grid.window = number;
  // The anchor is at the start, the middle or the end of the window in either direction.
  const unsigned anchorRow = definition_.anchorPoint / 3, anchorColumn = definition_.anchorPoint % 3;
  grid.top = vertical - definition_.rows * kRowHeight * anchorRow / 2;
  grid.left = horizontal - definition_.columns * kColumnWidth * anchorColumn / 2;
  grid.columns = definition_.columns;
  grid.columnWidth = kColumnWidth;
  if (alignment_ != Alignment::Left) grid.alignment = alignment_;
  for (unsigned i = 0; i < definition_.rows; ++i)
    if (TextRow text = textRowOf(row(i), definition_.columns, i); !text.runs.empty())
      addRow(caption, grid, std::move(text));
}

}  // namespace fmp4::captions
