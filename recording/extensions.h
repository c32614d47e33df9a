// The extensions of a recording's files.
#pragma once

namespace fmp4::extension {

inline constexpr const char* kVideo = ".m4v";  // has its audio in a file of its own
inline constexpr const char* kAudio = ".m4a";
inline constexpr const char* kManifest = ".mpd";
inline constexpr const char* kSmoothManifest = ".xml";  // where the name holds kSmooth
inline constexpr const char* kSmooth = ".ism";
inline constexpr const char* kPlaylist = ".m3u8";
inline constexpr const char* kMasterPlaylist = ".master.m3u8";
// What the name of the audio's playlist has after that of the media.
inline constexpr const char* kAudioPlaylistMark = "A";

}  // namespace fmp4::extension
