// Whether a recording has ended, by its playlist.
#pragma once

#include <filesystem>
#include <string>

namespace fmp4 {

// Whether a playlist lacks its end. Reads its last bytes. False when there is no such file.
bool isOpenPlaylist(const std::filesystem::path& playlist);

// Whether there is a playlist of the media file `media` that lacks its end: the recording goes on, or was
// interrupted. False without a playlist.
bool hasOpenPlaylist(const std::string& media);

}  // namespace fmp4
