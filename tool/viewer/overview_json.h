// What the page's time line asks of an overview, as JSON (docs/json.md).
#pragma once

#include <string>

#include "tool/serve/media_data.h"
#include "tool/viewer/overview.h"

namespace fmp4 {

// Cells, and about as many captions or faults, in one answer at most.
inline constexpr std::uint32_t kMaxOverviewCells = 4096;

// The streams, and how far they have been read.
std::string overviewJson(const Overview& overview);
// Cells of frames, or of audio with its faults: of the level `level` from `from` on, at most `count`. Throw
// BadRequest for other parameters.
std::string overviewFramesJson(const Overview& overview, const DataRequest& request);
std::string overviewAudioJson(const Overview& overview, const DataRequest& request);
// The captions of all channels between the frames `from` and `to`, no more than about `count` of each.
std::string overviewCaptionsJson(const Overview& overview, const DataRequest& request);

}  // namespace fmp4
