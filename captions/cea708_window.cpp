#include "captions/cea708_window.h"

#include <algorithm>
#include <utility>

#include "captions/text_grid.h"

namespace fmp4::captions {

namespace {

// The extents of the anchor's grid, and of the safe title area in columns (CTA-708-E, 8.2).
constexpr double kVerticalUnits = 75;
constexpr double kPercentUnits = 100;

double horizontalUnits(PictureShape shape) {
  return shape == PictureShape::Wide ? 210 : 160;
}

double columnWidthOn(PictureShape shape) {
  return kSafeExtent / (shape == PictureShape::Wide ? 42 : 32);
}

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

// CTA-708-E, 8.4.10 and 8.5.12: tables of predefined styles. Their directions and effects are not kept.
void Cea708Window::setStyles(unsigned windowStyle, unsigned penStyle) {
  if (windowStyle != 0) {
    attributes_ = {};
    if (windowStyle == 3 || windowStyle == 6) attributes_.alignment = Alignment::Centre;
    attributes_.wordWrap = windowStyle >= 4 && windowStyle <= 6;
    if (windowStyle == 2 || windowStyle == 5) attributes_.fillOpacity = Opacity::Transparent;
  }
  if (penStyle == 0) return;
  pen_ = {};
  penShape_ = {};
  if (penStyle >= 6) {
    pen_.backgroundOpacity = Opacity::Transparent;
    penShape_.edge = Edge::Uniform;
  }
  constexpr Font kFonts[] = {Font::Default,         Font::MonospacedSerif,  Font::ProportionalSerif,
                             Font::MonospacedSans,  Font::ProportionalSans, Font::MonospacedSans,
                             Font::ProportionalSans};
  penShape_.font = kFonts[penStyle - 1];
}

void Cea708Window::movePen(unsigned row, unsigned column) {
  penRow_ = std::min(row, definition_.rows - 1);
  penColumn_ = std::min(column, definition_.columns - 1);
}

void Cea708Window::write(char16_t character) {
  if (penColumn_ >= definition_.columns) {
    if (!attributes_.wordWrap) return;
    if (character == u' ') return carriageReturn();
    wrap();
  }
  row(penRow_)[penColumn_++] = {character, pen_, penShape_};
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

Cea708Window::Place Cea708Window::placeOn(PictureShape shape) const {
  const double columnWidth = columnWidthOn(shape);
  const double vertical =
      onScreen(definition_.anchorVertical, definition_.relative ? kPercentUnits : kVerticalUnits);
  const double horizontal =
      onScreen(definition_.anchorHorizontal, definition_.relative ? kPercentUnits : horizontalUnits(shape));
  // The anchor is at the start, the middle or the end of the window in either direction.
  const unsigned anchorRow = definition_.anchorPoint / 3, anchorColumn = definition_.anchorPoint % 3;
  return {vertical - definition_.rows * kRowHeight * anchorRow / 2,
          horizontal - definition_.columns * columnWidth * anchorColumn / 2, columnWidth};
}

void Cea708Window::addTo(Caption& caption, unsigned number) const {
  const Place place = placeOn(PictureShape::Wide);
  TextGrid grid;
  grid.window = number;
  grid.top = place.top;
  grid.left = place.left;
  grid.columns = definition_.columns;
  grid.columnWidth = place.columnWidth;
  if (attributes_.alignment != Alignment::Left) grid.alignment = attributes_.alignment;
  for (unsigned i = 0; i < definition_.rows; ++i)
    if (TextRow text = textRowOf(row(i), definition_.columns, i); !text.runs.empty())
      addRow(caption, grid, std::move(text));
}

CaptionRegion Cea708Window::region(unsigned number, PictureShape shape) const {
  const Place place = placeOn(shape);
  CaptionRegion region;
  region.window = number;
  region.rows = definition_.rows;
  region.columns = definition_.columns;
  // A window that does not fit is made smaller, one that leaves the picture is moved back.
  region.width = std::min(100.0, region.columns * place.columnWidth);
  region.height = std::min(100.0, region.rows * kRowHeight);
  region.top = std::clamp(place.top, 0.0, 100 - region.height);
  region.left = std::clamp(place.left, 0.0, 100 - region.width);
  region.alignment = attributes_.alignment;
  region.fill = attributes_.fill;
  region.fillOpacity = attributes_.fillOpacity;
  region.border = attributes_.border;
  region.borderColour = attributes_.borderColour;
  region.cells = cells_;
  return region;
}

}  // namespace fmp4::captions
