#include "tool/host/video_reader.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/boxes/hdlr.h"
#include "tool/host/other_tracks.h"
#include "tool/host/plugin_host.h"

namespace fmp4 {

VideoReader::VideoReader(CAMediaFile& file, std::string name) : file_(file), name_(std::move(name)) {
  if (file_.VidChan() == 0)
    throw UserError("'" + name_ + "' has no video stream" + whyThereIsNone(name_, mp4::kVideoHandler));
  // Without a descriptor the result is the size of the largest sample.
  const std::uint32_t largest = file_.Read(0, 1, kVideoChannel, QVR_MODE_VIDEO, nullptr, nullptr);
  descriptor_.dataCapacity = std::max(largest, std::uint32_t{1});
  buffer_ = std::make_unique_for_overwrite<std::uint8_t[]>(descriptor_.dataCapacity);
  descriptor_.size = sizeof(DFRAME);
  descriptor_.data = buffer_.get();
}

FrameRate VideoReader::rate() const {
  QVRSYSTEM system{};
  file_.GetFileInfo(kVideoChannel, &system, nullptr, nullptr, nullptr);
  return {system.rate, system.scale};
}

double VideoReader::frameSeconds() const {
  const FrameRate perSecond = rate();
  return perSecond.known() ? 1 / perSecond.value() : 0;
}

FrameRange VideoReader::range(const FrameSelection& selection) const {
  const FrameRange selected = selection.range(rate());
  const std::uint32_t total = file_.GetTotalFrames();
  if (selected.from >= total)
    throw UserError("'" + name_ + "' has " + std::to_string(total) +
                    " frames, counted from 0; there is no frame " + std::to_string(selected.from));
  return {selected.from, std::min(selected.count, total - selected.from)};
}

std::uint32_t VideoReader::keyFrameBefore(std::uint32_t frame) const {
  constexpr std::int8_t kAnyMode = 1;
  constexpr std::int32_t kBackward = 0;
  return file_.FindKeyFrame(kVideoChannel, kAnyMode, frame, kBackward);
}

const DFRAME& VideoReader::readWithoutSample(std::uint32_t frame) {
  descriptor_.data = nullptr;
  const DFRAME& descriptor = read(frame);
  descriptor_.data = buffer_.get();
  return descriptor;
}

const DFRAME& VideoReader::read(std::uint32_t frame) {
  descriptor_.compositionOffset = 0;  // a run without offsets leaves it unchanged
  descriptor_.bytes = 0;
  const std::uint32_t status = file_.Read(frame, 1, kVideoChannel, QVR_MODE_VIDEO, &descriptor_, nullptr);
  if (status != VL_OK || descriptor_.bytes > descriptor_.dataCapacity)
    throw UserError("frame " + std::to_string(frame) + " of '" + name_ + "' could not be read (status " +
                    statusText(status) + "); --from and --count read the frames around it");
  return descriptor_;
}

}  // namespace fmp4
