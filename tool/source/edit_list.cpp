#include "tool/source/edit_list.h"

#include <algorithm>
#include <cmath>

namespace fmp4 {

namespace {

constexpr std::int64_t kEmptyEdit = -1;
// Edit lists of real files have a handful of entries. They are searched for every sample.
constexpr std::size_t kMaxEdits = 1024;

// Times are clamped so that their sums cannot overflow.
constexpr std::int64_t kMaxTicks = std::int64_t{1} << 60;

}  // namespace

EditList::EditList(const mp4::EditListBox& box, std::uint32_t movieTimescale, std::uint32_t timescale,
                   bool openEnd) {
  if (movieTimescale == 0 || timescale == 0) return;
  double start = 0;
  for (const auto& entry : box.entries) {
    const double duration = static_cast<double>(entry.segmentDuration) / movieTimescale;
    if (entry.mediaTime != kEmptyEdit && entry.mediaTime >= 0 && edits_.size() < kMaxEdits) {
      const std::int64_t begin = std::min(entry.mediaTime, kMaxTicks);
      const double ticks = std::min(std::ceil(duration * timescale), static_cast<double>(kMaxTicks));
      edits_.push_back({start, begin, begin + static_cast<std::int64_t>(ticks)});
    }
    start += duration;
  }
  if (!edits_.empty() && (openEnd || edits_.back().mediaEnd == edits_.back().mediaBegin))
    edits_.back().mediaEnd = kEnd;
}

double EditList::present(std::int64_t ticks, std::uint32_t timescale) const {
  if (timescale == 0) return 0;
  if (empty()) return static_cast<double>(ticks) / timescale;
  auto edit = std::find_if(edits_.begin(), edits_.end(), [&](const Edit& e) { return ticks < e.mediaEnd; });
  if (edit == edits_.end()) --edit;
  return edit->start + static_cast<double>(ticks - edit->mediaBegin) / timescale;
}

bool EditList::hides(std::int64_t begin, std::int64_t end) const {
  return !empty() && std::none_of(edits_.begin(), edits_.end(), [&](const Edit& edit) {
    return begin < edit.mediaEnd && end > edit.mediaBegin;
  });
}

}  // namespace fmp4
