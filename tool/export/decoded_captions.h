// The captions of one channel in the selected frames of a file.
#pragma once

#include <functional>
#include <vector>

#include "base/exact_time.h"
#include "captions/caption_cues.h"
#include "tool/export/caption_frames.h"
#include "tool/export/export_streams.h"

namespace fmp4 {

struct DecodedCaptions {
  FrameRate rate;
  captions::CaptionChannel channel;
  std::vector<captions::Cue> cues;  // from the first selected frame on
};

// Decodes the channel of the request. `also` gets the captions of each selected frame, numbered from the
// first one. Throws UserError when the channel has no captions there, or frames cannot be read.
DecodedCaptions decodeCaptions(
    CAMediaFile& file, const CaptionRequest& request,
    const std::function<void(const FrameCaptions&)>& also = [](const FrameCaptions&) {});

}  // namespace fmp4
