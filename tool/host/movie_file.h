// Looks into a media file without the plug-in, to explain what the plug-in makes of it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <system_error>

#include "mp4box/box_type.h"
#include "mp4box/top_level_reader.h"

namespace fmp4 {

// Samples that a movie has in its own sample tables, outside fragments.
struct MovieSamples {
  std::uint64_t frames = 0;        // of the first video track with any
  std::uint64_t audioSamples = 0;  // access units of the first audio track with any
};

class MovieFile {
 public:
  // Opens `path` and reads its boxes up to the movie. The file may be of any format, or missing.
  explicit MovieFile(const std::string& path);

  bool isOpen() const { return file_ != nullptr; }
  // The system's reason why it is not open; none when it is.
  std::error_code openError() const { return openError_; }

  // For an open file; the object owns the boxes.
  Mp4Stream& stream() { return stream_; }
  Mp4TopLevelReader& boxes() { return *file_; }
  Mp4Box* root() { return file_->root(); }
  Mp4Box* movie() { return Mp4BoxChild(root(), box_type::kMoov); }
  // Whether there is a fragment; reads on in the file to find out.
  bool hasFragments() { return Mp4BoxGet(&stream_, root(), false, "moof") != nullptr; }
  MovieSamples movieSamples();

 private:
  Mp4Stream stream_;
  std::unique_ptr<Mp4TopLevelReader> file_;
  std::error_code openError_;
};

// The files that the plug-in opens for a name: the named file, or those that a manifest names.
struct OpenedFiles {
  std::string media;      // empty when there is none
  std::string companion;  // with the audio, if it has a file of its own
};
OpenedFiles openedFiles(const std::string& name);

// The file that `name` leads to. A symbolic link leads to its target if the files that belong to it are
// there, and not beside the link: the manifest of a media file, or the media of a manifest. Any other name
// leads to itself.
std::string linkFollowed(const std::string& name);

// The file that `name` stands for: NAME.mp4 that does not exist stands for the recording made under that
// name, if there is one, and any other name for the file that it leads to.
std::string recordedAs(const std::string& name);

// Whether a file has audio alone by its name (".m4a", ".isma").
bool isAudioName(const std::string& name);

}  // namespace fmp4
