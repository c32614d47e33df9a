// An HLS playlist for a fragmented MP4 that has none.
#pragma once

#include <string>

#include "tool/host/fragment_table.h"
#include "tool/serve/media_data.h"

namespace fmp4 {

// The media playlist (RFC 8216) of a file of this name, below the served folder: from one key frame to
// another, some seconds each. Segments are byte ranges of the file, or are made (segmentBytes) where players
// do not accept them as they are. Throws UserError when its fragments do not state their times.
std::string segmentPlaylist(const FragmentTable& table, const std::string& name);

// The bytes from `start` to `end` of a file, as a request says, with fragments that players accept. Throws
// BadRequest when they are not whole boxes or too many, UserError when they cannot be read or converted.
std::string segmentBytes(const DataRequest& request);

}  // namespace fmp4
