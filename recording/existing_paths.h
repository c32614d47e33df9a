// The files of a recording that exists, found by the name of any of them. `recording/paths.h` has the rule by
// which a new one is named.
#pragma once

#include <string>

namespace fmp4 {

// Paths, whether the files exist or not; empty where a recording has no such file.
struct RecordingPaths {
  std::string video;          // empty for audio alone
  std::string audio;          // beside the video, or alone
  std::string manifest;       // only with video
  std::string videoPlaylist;  // only with video
  std::string audioPlaylist;
  std::string masterPlaylist;  // only with video
};

// Of the recording that `name` belongs to: one of its media files, its manifest or one of its playlists.
// Throws UserError when no media file is there.
RecordingPaths findRecordingPaths(const std::string& name);

// The files of a recording of audio alone, in the media file `audio`.
RecordingPaths pathsOfAudioAlone(const std::string& audio);

// Name and extension of a path.
std::string fileNameOf(const std::string& path);

}  // namespace fmp4
