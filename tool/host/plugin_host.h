// Drives a media-file plug-in as the host does: through its exports and its object's virtual operations.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "mediafile.h"

namespace fmp4 {

class CMFFmp4;  // the plug-in's own class; its users see a CAMediaFile

using CheckVersionAndFile = std::int64_t (*)(const char* fileName, std::uint32_t indexOrFlags, void* out);
using MediaFileCommand = std::int64_t (*)(CMFFmp4* object, std::uint32_t command, void* argument);

// Closes and destroys a media-file object through the plug-in that created it.
struct MediaFileCloser {
  MediaFileCommand command;
  void operator()(CAMediaFile* object) const;
};
using MediaFile = std::unique_ptr<CAMediaFile, MediaFileCloser>;

// The channel mask of the video stream.
inline constexpr std::uint32_t kVideoChannel = 1;
// The channel mask of the first audio track's first pair.
inline constexpr std::uint32_t kFirstPair = 1;

// Blocks in which a second of audio is read: the precision with which lost audio is located.
inline constexpr std::uint32_t kBlocksASecond = 10;

// A loaded plug-in. It stays loaded until the program ends, as in the host: its texts and the files of
// accepted probes outlive this object.
class Plugin {
 public:
  // Loads the library `name` (a name without a folder is searched for beside the program first). Throws
  // UserError when it is missing, lacks an export or implements another version of the interface.
  explicit Plugin(const std::string& name);

  std::uint32_t interfaceVersion() const { return interfaceVersion_; }
  std::uint32_t formatCount() const { return formatCount_; }
  // The format record `index`. Throws UserError when the plug-in has none.
  FormatRecord formatRecord(std::uint32_t index) const;

  // Whether the plug-in accepts the file.
  bool probe(const std::string& file) const;
  // Opens a file for reading, for audio only if its name says so (".m4a", ".isma"). Warns of samples that are
  // not read. Throws UserError with the reason when the plug-in refuses the file or fails to open it.
  MediaFile open(const std::string& file) const;
  // The same without asking the probe, which keeps the files open that it accepts (quirk 1), and without a
  // word to the user: for programs that look into many files.
  MediaFile openQuietly(const std::string& file) const;
  // Creates a file for writing, replacing an existing one. Throws UserError when the plug-in cannot.
  MediaFile create(const std::string& file) const;

 private:
  MediaFile make(MFXOPEN& request) const;
  // Null when the plug-in does not open the file.
  MediaFile read(const std::string& file) const;

  CheckVersionAndFile checkVersionAndFile_ = nullptr;
  MediaFileCommand mediaFile_ = nullptr;
  std::uint32_t interfaceVersion_ = 0;
  std::uint32_t formatCount_ = 0;
};

}  // namespace fmp4
