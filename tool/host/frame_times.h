// When the frames of a file are decoded and presented, as the file states it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tool/source/source_file.h"

namespace fmp4 {

struct FrameTime {
  std::uint32_t timescale = 0;  // ticks a second
  std::uint64_t decodeTicks = 0;
  std::int64_t compositionTicks = 0;  // decode time and composition offset
  double presentationSeconds = 0;     // composition time with the edit list applied

  double decodeSeconds() const { return static_cast<double>(decodeTicks) / timescale; }
};

class FrameTimes {
 public:
  // Of the video that the plug-in reads for `name`, a media file or a manifest. Reads the file's boxes; of a
  // file that is damaged no times are known.
  explicit FrameTimes(const std::string& name);

  // Of a frame that the plug-in delivers with `size` bytes. Nothing when the file has another frame there:
  // the plug-in goes by sequence numbers, this by the order of the file.
  std::optional<FrameTime> of(std::uint32_t frame, std::uint32_t size) const;

 private:
  std::optional<SourceFile> file_;
  const SourceTrack* video_ = nullptr;  // of the file; null without times
};

}  // namespace fmp4
