// The captions of a file as the page draws them over its pictures.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "captions/caption_screen.h"
#include "tool/export/caption_frames.h"
#include "tool/host/plugin_host.h"
#include "tool/serve/media_data.h"

namespace fmp4 {

// A file that stays open, so that a request costs the frames of its range and those of the half minute before
// it, without their samples.
class CaptionScreens {
 public:
  // `file`: that the plug-in opens; `media`: that has its video. `plugin` must outlive the object. Throws
  // UserError when the plug-in does not read it.
  CaptionScreens(const Plugin& plugin, const std::string& file, const std::string& media);

  // JSON (docs/json.md) of what a channel displays in the frames that a request asks for: `channel` 1
  // (default) to 4 or `service` 1 to 63; `count` frames (at most 1000) from number `from` on, numbered as
  // they are shown. May be called on several threads at once. Throws BadRequest for other parameters,
  // UserError when frames cannot be read.
  std::string json(const DataRequest& request) const;

 private:
  const MediaFile file_;
  mutable std::mutex reading_;
  mutable std::optional<CaptionFrames> frames_;  // none without captions
  const std::uint64_t total_;                    // frames
  const std::uint32_t delay_;                    // frames by which B-frames delay the first picture
  const captions::PictureShape shape_;
};

}  // namespace fmp4
