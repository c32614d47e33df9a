// Reads all of a recording through the plug-in, for damage that its boxes do not show.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tool/host/plugin_host.h"

namespace fmp4 {

struct DecodeFault {
  std::string file;  // path
  std::string text;
};

// Receives the parts of the work that are done, and all.
using DecodeProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// Walks the NAL units of every video frame and decodes all audio. `video` and `audio` are the media files of
// a recording, one of them empty where it has none; audio in the video's file is decoded too. Throws
// UserError when a file cannot be opened.
std::vector<DecodeFault> decodeFaults(const Plugin& plugin, const std::string& video,
                                      const std::string& audio, const DecodeProgress& progress);

}  // namespace fmp4
