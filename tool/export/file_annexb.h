// The byte stream form of a file's video.
#pragma once

#include <string>

#include "mediafile.h"
#include "tool/export/annexb.h"

namespace fmp4 {

// Converts the samples of an open file. Throws UserError when the file `name` has no valid configuration.
AnnexB annexBOf(CAMediaFile& file, const std::string& name);

// The name that ffmpeg has for the byte stream of the file's video, "h264" or "hevc".
const char* byteStreamFormat(CAMediaFile& file);

}  // namespace fmp4
