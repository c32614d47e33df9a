#include "captions/cue_builder.h"

#include <algorithm>
#include <utility>

namespace fmp4::captions {

namespace {

// Frames without a new character after which typing has paused: half a second of 29.97.
constexpr std::int64_t kTypingPause = 15;

// The row of `caption` at the place of `row`; null when there is none.
const TextRow* rowAt(const Caption& caption, unsigned window, const TextRow& row) {
  for (const TextBlock& block : caption.blocks)
    for (const TextRow& candidate : block.rows)
      if (block.window == window && candidate.row == row.row && candidate.column == row.column)
        return &candidate;
  return nullptr;
}

// Whether `later` shows everything of `earlier`, in the same places, and more.
bool extends(const Caption& earlier, const Caption& later) {
  for (const TextBlock& block : earlier.blocks)
    for (const TextRow& row : block.rows) {
      const TextRow* const now = rowAt(later, block.window, row);
      if (!now || !now->text().starts_with(row.text())) return false;
    }
  return true;
}

}  // namespace

void CueBuilder::show(std::int64_t frame, const Caption& caption) {
  if (open_ && cues_.back().caption == caption) return;
  if (!open_ && caption.empty()) return;
  const bool typed = open_ && !caption.empty() && frame - lastChange_ <= kTypingPause &&
                     extends(cues_.back().caption, caption);
  lastChange_ = frame;
  if (typed) {
    cues_.back().caption = caption;
    return;
  }
  if (open_) {
    cues_.back().end = frame;
    if (cues_.back().first == frame) cues_.pop_back();
  }
  open_ = !caption.empty();
  if (open_) cues_.push_back({frame, frame, caption});
}

std::vector<Cue> CueBuilder::finish(std::int64_t end) {
  if (open_) show(std::max(end, cues_.back().first), {});
  return std::exchange(cues_, {});
}

}  // namespace fmp4::captions
