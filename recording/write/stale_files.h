// What an earlier recording has left under the name of a new one.
#pragma once

#include <string>
#include <vector>

// The files beside the media file `video` that belong to the recording which it holds so far, and to no
// other: its manifest, its playlists, and its sound in a file of its own. To be asked before the media file
// is replaced.
std::vector<std::string> StaleRecordingFiles(const std::string& video, const std::string& manifest);

// The playlist of the sound file `audio`, where it lists that file and no other; else empty.
std::string StaleAudioPlaylist(const std::string& audio);

// Removes a file. What is a link or a folder stays.
void RemoveStaleFile(const std::string& path);
