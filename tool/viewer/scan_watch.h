// Who watches the reading of a whole file.
#pragma once

#include <cstdint>
#include <functional>

namespace fmp4 {

// Both are called on the thread that reads.
struct ScanWatch {
  std::function<bool()> stopped = [] { return false; };
  // The frames and audio cells that have been read, and all.
  std::function<void(std::uint64_t done, std::uint64_t total)> progress = [](std::uint64_t, std::uint64_t) {};
};

}  // namespace fmp4
