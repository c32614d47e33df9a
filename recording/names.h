// The files of a recording, which are found by their names.
#pragma once

#include <string>

namespace fmp4 {

// Paths, whether the files exist or not; empty where a recording has no such file.
struct RecordingNames {
  std::string video;          // empty for audio alone
  std::string audio;          // beside the video, or alone
  std::string manifest;       // only with video
  std::string videoPlaylist;  // only with video
  std::string audioPlaylist;
  std::string masterPlaylist;  // only with video
};

// Of the recording that `name` belongs to: one of its media files, its manifest or one of its playlists.
// Throws UserError when no media file is there.
RecordingNames findRecording(const std::string& name);

// The files of a recording of audio alone, in the media file `audio`.
RecordingNames namesOfAudioAlone(const std::string& audio);

// Name and extension of a path.
std::string fileNameOf(const std::string& path);

}  // namespace fmp4
