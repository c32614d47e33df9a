#include "tool/export/file_annexb.h"

#include <memory>

#include "base/fourcc.h"
#include "base/user_error.h"
#include "tool/host/codec_configuration.h"
#include "tool/host/plugin_host.h"

namespace fmp4 {

namespace {

std::unique_ptr<QVRVIDEO> videoDescription(CAMediaFile& file) {
  auto video = std::make_unique<QVRVIDEO>();
  file.GetFileInfo(kVideoChannel, nullptr, video.get(), nullptr, nullptr);
  return video;
}

}  // namespace

AnnexB annexBOf(CAMediaFile& file, const std::string& name) {
  auto annexB = AnnexB::fromConfiguration(codecConfiguration(*videoDescription(file)));
  if (!annexB)
    throw UserError("'" + name +
                    "' has no valid H.264 or HEVC configuration, without which its video cannot be decoded; "
                    "'fmp4 boxes' shows what it has");
  return *annexB;
}

const char* byteStreamFormat(CAMediaFile& file) {
  // Descriptions hold the four characters in reverse order.
  return videoDescription(file)->stream.handler == Mp4FourCc("1cvh") ? "hevc" : "h264";
}

}  // namespace fmp4
