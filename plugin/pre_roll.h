// How far before a position to start decoding, so that the decoder has converged when it gets there: learned
// from seek to seek, because every track has its own distance between the places where decoding may start.
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/result.h"

namespace fmp4 {

// The result of decoding the pre-roll of a position.
struct PreRollResult {
  Result decoded;           // a failure is one that more pre-roll does not mend
  bool converged = false;   // the decoder had converged
  std::uint64_t spare = 0;  // access units decoded after that
};

class PreRoll {
 public:
  // Pre-roll if the previous access unit is not sufficient: at least this many access units, then more until
  // the decoder has converged, up to a limit in case the file prevents that.
  static constexpr std::uint64_t kConvergenceUnits = 24;
  static constexpr std::uint64_t kMaxUnits = 4096;

  // Calls `decodeFrom(first)` for a PreRollResult of the access units from number `first` up to the one
  // before `target`, until the decoder has converged; there is no history before the first access unit.
  template <class DecodeFrom>
  [[nodiscard]] Result decodeBefore(std::uint64_t target, DecodeFrom decodeFrom) {
    for (std::uint64_t units = units_;; units = longer(units)) {
      const std::uint64_t first = target - std::min(units, target);
      const PreRollResult result = decodeFrom(first);
      if (!result.decoded.ok() || first == 0) return result.decoded;
      if (result.converged) learn(units, result.spare);
      if (result.converged || units >= kMaxUnits) return {};
    }
  }

 private:
  static constexpr std::uint64_t kNoSpare = ~std::uint64_t{0};
  static constexpr int kSeeksToShorten = 16;

  static std::uint64_t longer(std::uint64_t units) {
    return std::max(units + units / 4 + 2, kConvergenceUnits);
  }

  // Starts from what was sufficient, less what none of several seeks needed.
  void learn(std::uint64_t units, std::uint64_t spare) {
    if (units != units_) {
      units_ = units;
      smallestSpare_ = kNoSpare;
      seeks_ = 0;
    }
    smallestSpare_ = std::min(smallestSpare_, spare);
    if (++seeks_ < kSeeksToShorten) return;
    units_ -= std::min(smallestSpare_, units_ - 1);
    smallestSpare_ = kNoSpare;
    seeks_ = 0;
  }

  std::uint64_t units_ = 1;  // because access units overlap
  std::uint64_t smallestSpare_ = kNoSpare;
  int seeks_ = 0;  // since `units_` changed
};

}  // namespace fmp4
