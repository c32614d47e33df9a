// A set of byte ranges of a file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>

namespace fmp4 {

// Ranges that touch or overlap are merged.
class FileRanges {
 public:
  // The end of the range that contains `offset`; `offset` itself if there is none.
  std::uint64_t endOf(std::uint64_t offset) const {
    const auto after = ranges_.upper_bound(offset);
    return after == ranges_.begin() ? offset : std::max(offset, std::prev(after)->second);
  }

  // Adds [start, end). Allocates nothing where it continues a range.
  void add(std::uint64_t start, std::uint64_t end) {
    if (end <= start) return;
    auto after = ranges_.upper_bound(start);
    const bool continues = after != ranges_.begin() && std::prev(after)->second >= start;
    const auto range = continues ? std::prev(after) : ranges_.emplace_hint(after, start, end);
    range->second = std::max(range->second, end);
    while (after != ranges_.end() && after->first <= range->second) {
      range->second = std::max(range->second, after->second);
      after = ranges_.erase(after);
    }
  }

 private:
  std::map<std::uint64_t, std::uint64_t> ranges_;  // start to end
};

}  // namespace fmp4
