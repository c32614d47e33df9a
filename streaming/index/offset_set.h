// A set of file offsets.
#pragma once

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

namespace fmp4 {

// Offsets that ascend, as in a segment list, take eight bytes each.
class OffsetSet {
 public:
  // Returns false for an offset inserted before.
  bool insert(std::uint64_t offset) {
    if (!ascending_.empty() && offset <= ascending_.back()) {
      return !std::binary_search(ascending_.begin(), ascending_.end(), offset) &&
             others_.insert(offset).second;
    }
    ascending_.push_back(offset);
    return true;
  }

 private:
  std::vector<std::uint64_t> ascending_;
  std::set<std::uint64_t> others_;
};

}  // namespace fmp4
