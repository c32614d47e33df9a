// Reads the frames of an open file's video stream, one at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "base/exact_time.h"
#include "mediafile.h"
#include "tool/host/frame_selection.h"

namespace fmp4 {

class VideoReader {
 public:
  // `file` must outlive the reader. Throws UserError when it has no video stream. `name` is for messages.
  VideoReader(CAMediaFile& file, std::string name);

  // Frames a second; unknown when the file does not say.
  FrameRate rate() const;
  // The duration of a frame in seconds; 0 when the file has no frame rate.
  double frameSeconds() const;
  // The selected frames of the file. Throws UserError when it ends before the first of them.
  FrameRange range(const FrameSelection& selection) const;

  // The key frame at or before a frame; 0 when there is none.
  std::uint32_t keyFrameBefore(std::uint32_t frame) const;

  // Reads one frame. The descriptor and the sample's bytes are valid until the next read. Throws UserError
  // when the plug-in cannot deliver the frame.
  const DFRAME& read(std::uint32_t frame);
  // The same without the sample's bytes, which are not read from the file.
  const DFRAME& readWithoutSample(std::uint32_t frame);
  std::span<const std::uint8_t> sample() const { return {buffer_.get(), descriptor_.bytes}; }

 private:
  CAMediaFile& file_;
  std::string name_;
  // Holds the largest sample. Uninitialised, since a damaged file may claim more than it will ever fill.
  std::unique_ptr<std::uint8_t[]> buffer_;
  DFRAME descriptor_ = {};
};

}  // namespace fmp4
