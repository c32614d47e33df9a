// The media files of a name, whose samples are counted while the plug-in reads them.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "tool/host/movie_file.h"
#include "tool/source/counted_tracks.h"
#include "vlhost.h"

namespace fmp4 {

struct WatchedFile {
  explicit WatchedFile(const std::string& name);

  // Counts the tracks; none of a file that is damaged. Throws UserError when it cannot be read to its end.
  std::vector<CountedTrack> countedTracks();

  std::string path;
  MovieFile movie;
  std::unique_ptr<TrackCounter> counter;  // null if nothing is to be gained
  std::vector<VLHANDLE> handles;          // under which it has been opened
};

class WatchedFiles {
 public:
  // Finds the files that the plug-in opens for `name`, and watches what this thread reads of them from now
  // on.
  explicit WatchedFiles(const std::string& name);
  ~WatchedFiles();
  WatchedFiles(const WatchedFiles&) = delete;
  WatchedFiles& operator=(const WatchedFiles&) = delete;

  const OpenedFiles& names() const { return names_; }

  // Ends the watch. Those that can be opened, in file order: that of the video, then that with its audio.
  std::list<WatchedFile>& watched();

 private:
  static void opened(void* context, const char* path, VLHANDLE file);
  static void read(void* context, VLHANDLE file, std::uint64_t offset, const void* bytes,
                   std::uint32_t count);

  OpenedFiles names_;
  std::list<WatchedFile> files_;
  VLFILEWATCH watch_;
};

}  // namespace fmp4
