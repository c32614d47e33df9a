// Finds key frames of a source.
#include <algorithm>
#include <optional>

#include "base/guard.h"
#include "plugin/source.h"
#include "streaming/index/seek.h"

namespace fmp4 {

std::uint32_t Source::findKeyFrame(std::uint32_t frame, bool forward) {
  if (!hasVideo()) return frame;
  const auto found = guarded(std::optional<std::uint32_t>(), [&] {
    return forward ? FindKeyFrameForward(*index_, frame, videoCursor_)
                   : FindKeyFrameBackward(*index_, frame, videoCursor_);
  });
  if (!found) return frame;
  return forward ? std::max(*found, frame) : std::min(*found, frame);
}

}  // namespace fmp4
