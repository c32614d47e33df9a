// Where the files of a recording are, beside each other.
#pragma once

#include <string>

// The path with another extension; empty where that makes it too long.
std::string WithExtension(const std::string& path, const char* extension);

// The playlist of a sound file, which is beside that of the video: the end of the name tells them apart.
std::string AudioPlaylistPath(const std::string& audio);
