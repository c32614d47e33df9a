// A set of byte ranges of a file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>

// Ranges that touch or overlap are merged.
class FileRanges {
 public:
  // The end of the range that contains `offset`; `offset` itself if there is none.
  std::uint64_t endOf(std::uint64_t offset) const {
    const auto behind = ranges_.upper_bound(offset);
    return behind == ranges_.begin() ? offset : std::max(offset, std::prev(behind)->second);
  }

  // Adds [start, end).
  void add(std::uint64_t start, std::uint64_t end) {
    auto range = ranges_.upper_bound(start);
    if (range != ranges_.begin() && std::prev(range)->second >= start) start = (--range)->first;
    while (range != ranges_.end() && range->first <= end) {
      end = std::max(end, range->second);
      range = ranges_.erase(range);
    }
    if (end > start) ranges_.emplace(start, end);
  }

 private:
  std::map<std::uint64_t, std::uint64_t> ranges_;  // start to end
};
