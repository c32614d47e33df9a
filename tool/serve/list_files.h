// What the beginning and the end of a small file say: whether it is a manifest, whether a playlist is
// complete.
#pragma once

#include <filesystem>
#include <string_view>

namespace fmp4 {

// What follows the base name of a master playlist.
inline constexpr std::string_view kMasterExtension = ".master.m3u8";

// Whether a file of the extension ".xml" is a DASH manifest. Reads the first kilobyte.
bool isXmlManifest(const std::filesystem::path& path);

// Whether the playlist lacks its end: the recording goes on, or was interrupted. Reads its last bytes.
bool isOpenPlaylist(const std::filesystem::path& playlist);

}  // namespace fmp4
