// The frames of a file that a command works on.
#pragma once

#include <cstdint>
#include <optional>

namespace CLI {
class App;
}

// The values of `--from` and `--count`; without a count, all frames that follow.
struct FrameSelection {
  std::uint32_t from = 0;
  std::optional<std::uint32_t> count;
};

// Frames `from` to `from + count - 1`.
struct FrameRange {
  std::uint32_t from;
  std::uint32_t count;
};

// Adds `--from` and `--count` to a command; `selection` must outlive it.
void addFrameSelection(CLI::App& command, FrameSelection& selection);
