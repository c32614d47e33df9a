// What an earlier recording has left under the name of a new one.
#pragma once

#include <string>
#include <vector>

namespace fmp4 {

// The files beside the media file `video` that belong to its existing recording and to no other: its
// manifest, its playlists, and its audio in a file of its own. To be called before the media file is
// replaced.
std::vector<std::string> staleRecordingFiles(const std::string& video, const std::string& manifest);

// The playlist of the audio file `audio` when it lists that file and no other; otherwise empty.
std::string staleAudioPlaylist(const std::string& audio);

// Removes a file. A link or a folder stays.
void removeStaleFile(const std::string& path);

}  // namespace fmp4
