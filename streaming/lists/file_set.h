// The files that belong to the name that a host opens.
#pragma once

#include <optional>
#include <string>

#include "streaming/lists/manifest_reader.h"

namespace fmp4 {

// The files of one presentation; the path of an absent file is empty.
struct FileSet {
  std::string video;
  std::string audio;
  std::string manifest;
};

// Finds them by name: the media files next to a manifest, and the manifest next to a media file. Kinds are
// recognised by case-sensitive substrings of the full name: a.mp4.bak is a video file. `audioOnly` treats the
// name as the audio file.
FileSet findFileSet(const char* name, bool audioOnly);

// The manifest read last: the files of one presentation have the same one, and one opening reads it once.
class LastManifest {
 public:
  // The manifest at `path`; null if it cannot be loaded or contains nothing usable. Valid until the next
  // call.
  const Manifest* at(const std::string& path);

 private:
  std::string path_;  // empty: none has been read
  std::optional<Manifest> manifest_;
};

// Reads the manifest of the set; the media files that it refers to replace those found by name. Returns null
// if there is no manifest or it contains nothing usable; the media files are then used on their own. The
// result is valid as long as `last`, and until that reads another.
const Manifest* loadManifest(FileSet& files, LastManifest& last);

}  // namespace fmp4
