// In what a manifest or a playlist differs from the one that goes with the media.
#pragma once

#include <string>
#include <string_view>

// Where and how the first difference is, in words; empty when there is none. `expected` ends its recording.
std::string playlistDifference(std::string_view expected, std::string_view actual);

// Likewise of two manifests; how the text is laid out makes no difference. `expected` is a whole document.
std::string manifestDifference(std::string_view expected, std::string_view actual);
