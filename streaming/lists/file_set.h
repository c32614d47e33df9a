// Which files belong to the name that a host opens.
#pragma once

#include <optional>
#include <string>

#include "streaming/lists/manifest_reader.h"

// The files of one presentation; an empty path means that the file is absent.
struct FileSet {
  std::string video;
  std::string audio;
  std::string manifest;
};

// Finds them by name: a manifest's media are looked for beside it, a media file's manifest likewise. Kinds
// are told by substrings of the whole name, case counting: a.mp4.bak is a video file. `audioOnly` takes the
// name for the audio file.
FileSet FindFileSet(const char* name, bool audioOnly);

// Reads the set's manifest, and lets the media it names replace those found by name. None when there is no
// manifest or it says nothing; the media files then stand alone.
std::optional<Manifest> LoadManifest(FileSet& files);
