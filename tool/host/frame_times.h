// When the frames of a file are decoded and presented, as the file states it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tool/host/track_units.h"

namespace fmp4 {

struct FrameTime {
  std::uint32_t timescale = 0;  // ticks a second
  std::uint64_t decodeTicks = 0;
  std::int64_t compositionTicks = 0;  // decode time and composition offset
  double presentationSeconds = 0;     // composition time with the edit list applied

  double decodeSeconds() const { return static_cast<double>(decodeTicks) / timescale; }
};

// Reads the file's fragments as far as frames have been asked for, each once, and keeps one of them. So
// frames are asked for in ascending order.
class FrameTimes {
 public:
  // Of the video that the plug-in reads for `name`, a media file or a manifest.
  explicit FrameTimes(const std::string& name);

  // Of a frame that the plug-in delivers with `size` bytes, after those asked for before. Nothing when the
  // file has another frame there: the plug-in goes by sequence numbers, this by the order of the file. Nor is
  // anything known from where the file is damaged.
  std::optional<FrameTime> of(std::uint32_t frame, std::uint32_t size);

 private:
  TrackUnits video_;
  std::uint64_t passed_ = 0;  // frames, the current one included
};

}  // namespace fmp4
