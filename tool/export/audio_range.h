// Which audio plays during the selected frames.
#pragma once

#include <cstdint>
#include <string>

#include "mediafile.h"
#include "tool/host/frame_selection.h"

namespace fmp4 {

// PCM frames during which the selected frames play, after `silence` of them when the audio starts late.
struct AudioRange {
  std::uint64_t from;
  std::uint64_t count;
  std::uint64_t silence;
};

// Of the first audio track of a file, counted from its first access unit. The selected frames are video
// frames, or frames at the file's frame rate when it has no video. Throws UserError when the audio of the
// file, `name`, ends before them.
AudioRange audioRange(const FrameSelection& selection, const QVRSYSTEM& system, const QVRAUDIO& audio,
                      const std::string& name);

}  // namespace fmp4
