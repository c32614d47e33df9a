// The captions of a file's frames, where the edit lists of the file put them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "tool/export/edited_captions.h"
#include "tool/export/export_streams.h"
#include "tool/host/video_reader.h"

namespace fmp4 {

// The captions of one frame; either may be empty.
struct FrameCaptions {
  std::uint32_t frame;
  std::span<const std::uint8_t> pair;    // CEA-608
  std::span<const std::uint8_t> packet;  // CEA-708, as a host gets it

  // The caption distribution packet inside the host's packet; empty when there is none.
  std::span<const std::uint8_t> distributionPacket() const;
};

class CaptionFrames {
 public:
  // Throws UserError when the file has no captions, or ends before the selected frames.
  CaptionFrames(CAMediaFile& file, const ExportRequest& request);

  // The selected frames.
  const FrameRange& range() const { return range_; }

  // Passes the captions of the selected frames to `take`, and before them those of up to `lead` frames before
  // the first. Throws UserError when a frame cannot be read.
  void read(std::uint32_t lead, const std::function<void(const FrameCaptions&)>& take);

 private:
  VideoReader reader_;
  FrameRange range_;
  std::unique_ptr<EditedCaptions> edited_;
};

}  // namespace fmp4
