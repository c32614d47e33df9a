// A media file looked into beside the plug-in, to tell what it makes of it.
#pragma once

#include <cstdint>
#include <string>

#include "mp4box/box.h"

// Samples that a movie lists in its own tables, outside of fragments.
struct MovieSamples {
  std::uint64_t frames = 0;  // of the first video track with any
  std::uint64_t sounds = 0;  // coded ones, of the first audio track with any
};

class MovieFile {
 public:
  // Opens `path` and reads its boxes up to the movie. The file may be of any kind, or not there.
  explicit MovieFile(const std::string& path);

  bool isOpen() const { return root_ != nullptr; }
  // Why it is not, in the system's words.
  const std::string& openError() const { return openError_; }

  // Of an open file; the boxes are the object's.
  Mp4Stream& stream() { return stream_; }
  Mp4Box* root() { return root_.get(); }
  Mp4Box* movie() { return Mp4BoxChild(root(), Mp4FourCc("moov")); }
  // Whether there is a fragment, for which the file is read on.
  bool hasFragments() { return Mp4BoxGet(&stream_, root(), false, "moof") != nullptr; }
  MovieSamples movieSamples();

 private:
  Mp4Stream stream_;
  Mp4BoxPtr root_;
  std::string openError_;
};

// The files that the plug-in opens for a name: its own, or those that a manifest names.
struct OpenedFiles {
  std::string media;      // empty where there is none
  std::string companion;  // of the sound, where it has a file of its own
};
OpenedFiles openedFiles(const std::string& name);

// Whether a name says that its file holds sound alone (".m4a", ".isma").
bool isAudioName(const std::string& name);
