// The frames of a file that a command works on.
#pragma once

#include <cstdint>
#include <optional>

#include "tool/host/frame_place.h"

namespace CLI {
class App;
}

namespace fmp4 {

// Frames `from` to `from + count - 1`.
struct FrameRange {
  std::uint32_t from;
  std::uint32_t count;
};

// The values of `--from`, `--to` and `--count`; without the last two, all frames that follow.
struct FrameSelection {
  FramePlace from{0};
  std::optional<FramePlace> to;  // the frame after the last
  std::optional<FramePlace> count;

  // The selected frames at a frame rate, whatever the file holds; without an end up to the largest number.
  // Throws UserError when they end before they begin.
  FrameRange range(const FrameRate& rate) const;
  bool hasEnd() const { return to || count; }
};

// Adds `--from`, `--to` and `--count` to a command; `selection` must outlive it.
void addFrameSelection(CLI::App& command, FrameSelection& selection);

}  // namespace fmp4
