// The rule by which recording names its files, from the name that it is given. `recording/existing_paths.h`
// finds those of a recording that exists.
#pragma once

#include <string>

namespace fmp4 {

// The path with another extension; empty when that makes it too long.
std::string withExtension(const std::string& path, const char* extension);

// Of a recording opened by `name`: the media file (NAME.mp4 is recorded as NAME.m4v) and the manifest.
// The texts are looked for in the whole path, as when a file is opened for reading (quirk 10).
std::string videoPath(const std::string& name);
std::string manifestPath(const std::string& name);

// Whether the recording in the media file `video` has its audio in a file of its own, and that file.
bool hasSeparateAudio(const std::string& video);
std::string audioPath(const std::string& video);

// The playlists of media files, and the master playlist.
std::string videoPlaylistPath(const std::string& video);
// Beside that of the video; the end of the name differs.
std::string audioPlaylistPath(const std::string& audio);
std::string masterPlaylistPath(const std::string& video);

}  // namespace fmp4
