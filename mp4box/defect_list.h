// The defects met while reading a file, and where.
#pragma once

#include <cstdint>
#include <new>
#include <vector>

#include "base/defect.h"

namespace fmp4 {

// A defect of one box.
struct Mp4BoxDefect {
  std::uint64_t offset = 0;  // file offset of the box
  std::uint32_t type = 0;    // of the box; 0: its header was not read that far
  Defect defect = Defect::None;
};

// Keeps the first ones, and counts all.
class Mp4DefectList {
 public:
  static constexpr std::size_t kMaxKept = 64;

  // Adds a defect, unless it is of the box that was added last: the first one explains those that follow.
  void add(const Mp4BoxDefect& found) noexcept {
    if (count_ != 0 && last_ == found.offset) return;
    last_ = found.offset;
    ++count_;
    if (kept_.size() < kMaxKept) keep(found);
  }

  // In the order in which they were met.
  const std::vector<Mp4BoxDefect>& kept() const { return kept_; }
  std::uint64_t count() const { return count_; }

 private:
  // Where memory is short, they are only counted.
  void keep(const Mp4BoxDefect& found) noexcept try {
    kept_.push_back(found);
  } catch (const std::bad_alloc&) {
  }

  std::vector<Mp4BoxDefect> kept_;
  std::uint64_t count_ = 0;
  std::uint64_t last_ = 0;  // offset of the last one
};

}  // namespace fmp4
