// The captions of a file's frames, where the edit lists of the file put them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "base/exact_time.h"
#include "tool/export/edited_captions.h"
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

// Frames to read before those whose captions are wanted: what is on the screen was sent in them.
std::uint32_t captionLead(const FrameRate& rate);

class CaptionFrames {
 public:
  // `file`, which the plug-in opened for `name`, must outlive the object. Throws UserError when it has no
  // captions.
  CaptionFrames(CAMediaFile& file, const std::string& name);

  // Unknown when the file does not say.
  FrameRate rate() const { return reader_.rate(); }
  // The selected frames. Throws UserError when the file ends before the first of them.
  FrameRange range(const FrameSelection& selection) const { return reader_.range(selection); }

  // Passes the captions of a range to `take`, and before them those of up to `lead` frames before it. Throws
  // UserError when a frame cannot be read.
  void read(const FrameRange& range, std::uint32_t lead,
            const std::function<void(const FrameCaptions&)>& take);

 private:
  VideoReader reader_;
  std::unique_ptr<EditedCaptions> edited_;
  std::uint32_t next_ = 0;  // the frame after the last one read
};

}  // namespace fmp4
