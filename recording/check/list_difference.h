// How a manifest or a playlist differs from the one that its media imply.
#pragma once

#include <string>
#include <string_view>

namespace fmp4 {

// The first difference and where it is, in words; empty when there is none. `expected` is that of a complete
// recording.
std::string playlistDifference(std::string_view expected, std::string_view actual);

// The same for two manifests; layout makes no difference. `expected` is a well-formed document.
std::string manifestDifference(std::string_view expected, std::string_view actual);

}  // namespace fmp4
