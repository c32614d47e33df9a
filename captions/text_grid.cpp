#include "captions/text_grid.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace fmp4::captions {

namespace {

// Columns by which the middle of a centred row may be off the middle of its grid.
constexpr int kCentreTolerance = 1;

bool isCentred(const TextRow& row, const TextGrid& grid) {
  const int twiceOff = static_cast<int>(2 * row.column + row.width) - static_cast<int>(grid.columns);
  return std::abs(twiceOff) <= 2 * kCentreTolerance;
}

// Whether a row continues a block: in the row below, at the same left edge or centred as all of them are.
bool continues(const TextBlock& block, const TextGrid& grid, const TextRow& row) {
  if (block.window != grid.window || row.row != block.rows.back().row + 1) return false;
  if (grid.alignment && *grid.alignment != Alignment::Left) return true;
  if (block.alignment == Alignment::Left && row.column == block.rows.back().column) return true;
  return isCentred(row, grid) && std::all_of(block.rows.begin(), block.rows.end(),
                                             [&grid](const TextRow& one) { return isCentred(one, grid); });
}

double acrossOf(const TextGrid& grid, Alignment alignment, unsigned column) {
  const double width = grid.columns * grid.columnWidth;
  const double across = alignment == Alignment::Left     ? grid.left + column * grid.columnWidth
                        : alignment == Alignment::Centre ? grid.left + width / 2
                                                         : grid.left + width;
  return std::clamp(across, 0.0, 100.0);
}

}  // namespace

void addRow(Caption& caption, const TextGrid& grid, TextRow row) {
  if (!caption.blocks.empty() && continues(caption.blocks.back(), grid, row)) {
    TextBlock& block = caption.blocks.back();
    if (block.alignment == Alignment::Left && row.column != block.rows.back().column) {
      block.alignment = Alignment::Centre;
      block.across = acrossOf(grid, Alignment::Centre, 0);
    }
    block.rows.push_back(std::move(row));
    return;
  }
  const Alignment alignment = grid.alignment.value_or(Alignment::Left);
  const double top = std::clamp(grid.top + kRowHeight * row.row, 0.0, 100 - kRowHeight);
  const double across = acrossOf(grid, alignment, row.column);
  caption.blocks.push_back({grid.window, top, across, alignment, {std::move(row)}});
}

}  // namespace fmp4::captions
