#include "tool/export/caption_frames.h"

#include <algorithm>

#include "base/user_error.h"
#include "tool/host/captions.h"
#include "tool/terminal/progress.h"

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

CaptionFrames::CaptionFrames(CAMediaFile& file, const ExportRequest& request)
    : reader_(withCaptions(file, request.input), request.input),
      range_(reader_.range(request.selection)),
      edited_(EditedCaptions::of(request.input)) {}

void CaptionFrames::read(std::uint32_t lead, const std::function<void(const FrameCaptions&)>& take) {
  const std::uint32_t begin = range_.from - std::min(lead, range_.from);
  const std::uint32_t count = range_.from - begin + range_.count;
  Progress progress("exporting captions", count);
  for (std::uint32_t i = 0; i < count; ++i) {
    DFRAME descriptor = reader_.read(begin + i);
    if (edited_) edited_->replaceIn(descriptor, begin + i);
    take({begin + i, captionPair(descriptor), captionPacket(descriptor)});
    progress.show(i + 1);
  }
}

}  // namespace fmp4
