// Values along a time line, and summaries of ever more of them: whatever part of a file is shown, a few
// thousand cells show it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace fmp4 {

// Cells of one level that a cell of the next summarises.
inline constexpr std::size_t kCellsMerged = 4;

// The number of levels over `finest` values: the last level has one cell.
constexpr std::size_t levelsOver(std::size_t finest) {
  std::size_t levels = 1;
  for (; finest > 1; finest = (finest + kCellsMerged - 1) / kCellsMerged) ++levels;
  return levels;
}

// Level 0 has a cell for each value, Cell::of(value); a cell of a further level is Cell::merged(cells) of up
// to kCellsMerged cells of the one before.
template <class Value, class Cell>
class CellLevels {
 public:
  // Appends values, and brings the other levels up to date.
  void append(std::span<const Value> values) {
    finest_.insert(finest_.end(), values.begin(), values.end());
    std::size_t finer = finest_.size();
    for (std::size_t level = 1; finer > 1; ++level) {
      if (merged_.size() < level) merged_.emplace_back();
      finer = update(level);
    }
  }

  std::span<const Value> finest() const { return finest_; }
  std::size_t levels() const { return 1 + merged_.size(); }
  // The cells that a level has so far; 0 for one that is not there yet.
  std::size_t count(std::size_t level) const {
    if (level == 0) return finest_.size();
    return level <= merged_.size() ? merged_[level - 1].size() : 0;
  }
  // At most `count` cells of a level from `from` on, as many as there are.
  std::vector<Cell> cells(std::size_t level, std::size_t from, std::size_t count) const {
    std::vector<Cell> result;
    const std::size_t here = this->count(level);
    if (from >= here) return result;
    const std::size_t end = from + std::min(count, here - from);
    result.reserve(end - from);
    for (std::size_t i = from; i < end; ++i) result.push_back(cell(level, i));
    return result;
  }

 private:
  Cell cell(std::size_t level, std::size_t index) const {
    return level == 0 ? Cell::of(finest_[index]) : merged_[level - 1][index];
  }

  // Makes the cells of a level that are not there, or were made of fewer cells than there are now. Returns
  // how many the level has.
  std::size_t update(std::size_t level) {
    std::vector<Cell>& cells = merged_[level - 1];
    const std::size_t finer = count(level - 1), first = cells.empty() ? 0 : cells.size() - 1;
    cells.resize((finer + kCellsMerged - 1) / kCellsMerged);
    for (std::size_t i = first; i < cells.size(); ++i)
      cells[i] = Cell::merged(this->cells(level - 1, i * kCellsMerged, kCellsMerged));
    return cells.size();
  }

  std::vector<Value> finest_;
  std::vector<std::vector<Cell>> merged_;  // levels from 1 on
};

}  // namespace fmp4
