#include "tool/export/caption_frames.h"

#include <algorithm>
#include <cmath>

#include "base/user_error.h"
#include "tool/host/captions.h"

namespace fmp4 {

namespace {

CAMediaFile& withCaptions(CAMediaFile& file, const std::string& name) {
  QVRINFO info{};
  file.GetFileInfo(1, nullptr, nullptr, nullptr, &info);
  if (info.captions == 0)
    throw UserError("'" + name + "' has no caption track; 'fmp4 info' shows what it has");
  return file;
}

}  // namespace

std::span<const std::uint8_t> FrameCaptions::distributionPacket() const {
  // The host puts an identifier and a length before it.
  constexpr std::size_t kHostBytes = 3;
  return packet.size() > kHostBytes ? packet.subspan(kHostBytes) : std::span<const std::uint8_t>();
}

std::uint32_t captionLead(const FrameRate& rate) {
  constexpr double kLeadSeconds = 30;
  return static_cast<std::uint32_t>(std::lround(kLeadSeconds * rate.value()));
}

CaptionFrames::CaptionFrames(CAMediaFile& file, const std::string& name)
    : reader_(withCaptions(file, name), name), edited_(EditedCaptions::of(name)) {}

void CaptionFrames::read(const FrameRange& range, std::uint32_t lead,
                         const std::function<void(const FrameCaptions&)>& take) {
  const std::uint32_t begin = range.from - std::min(lead, range.from), end = range.from + range.count;
  if (edited_ && begin < next_) edited_->rewind();
  for (next_ = begin; next_ < end;) {
    const std::uint32_t frame = next_++;
    DFRAME descriptor = reader_.readWithoutSample(frame);
    if (edited_) edited_->replaceIn(descriptor, frame);
    take({frame, captionPair(descriptor), captionPacket(descriptor)});
  }
}

}  // namespace fmp4
