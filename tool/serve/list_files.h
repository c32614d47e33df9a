// What names and beginnings of lists say.
#pragma once

#include <filesystem>
#include <string_view>

namespace fmp4 {

// What follows the base name of a master playlist.
inline constexpr std::string_view kMasterExtension = ".master.m3u8";

// Whether a file of the extension ".xml" is a DASH manifest. Reads the first kilobyte.
bool isXmlManifest(const std::filesystem::path& path);

}  // namespace fmp4
