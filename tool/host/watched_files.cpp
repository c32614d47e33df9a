#include "tool/host/watched_files.h"

#include <algorithm>

#include "base/user_error.h"
#include "mp4box/require_read.h"

namespace fmp4 {

WatchedFile::WatchedFile(const std::string& name) : path(name), movie(name) {
  // Without fragments there is nothing to count in passing.
  if (!movie.isOpen() || !Mp4BoxChild(movie.movie(), box_type::kMvex)) return;
  try {
    counter = std::make_unique<TrackCounter>(movie.boxes());
  } catch (const UserError&) {
    counter = nullptr;  // as countedTracks() finds out again
  }
}

std::vector<CountedTrack> WatchedFile::countedTracks() {
  std::vector<CountedTrack> tracks;
  try {
    tracks = counter ? counter->count() : countTracks(movie.boxes());
  } catch (const UserError&) {
    // A damaged file has no counts.
  }
  requireRead(movie.stream(), path);
  return tracks;
}

WatchedFiles::WatchedFiles(const std::string& name) : names_(openedFiles(name)), watch_{this, opened, read} {
  for (const std::string& path : {names_.media, names_.companion}) {
    if (path.empty()) continue;
    files_.emplace_back(path);
    if (!files_.back().movie.isOpen()) files_.pop_back();
  }
  vlWatchFiles(&watch_);
}

WatchedFiles::~WatchedFiles() {
  vlWatchFiles(nullptr);
}

std::list<WatchedFile>& WatchedFiles::watched() {
  vlWatchFiles(nullptr);
  return files_;
}

void WatchedFiles::opened(void* context, const char* path, VLHANDLE file) try {
  for (WatchedFile& watched : static_cast<WatchedFiles*>(context)->files_) {
    std::erase(watched.handles, file);
    if (watched.path == path) watched.handles.push_back(file);
  }
} catch (const std::bad_alloc&) {
  // What is read under this handle is not counted in passing.
}

void WatchedFiles::read(void* context, VLHANDLE file, std::uint64_t offset, const void* bytes,
                        std::uint32_t count) {
  for (WatchedFile& watched : static_cast<WatchedFiles*>(context)->files_) {
    const auto& handles = watched.handles;
    if (!watched.counter || std::find(handles.begin(), handles.end(), file) == handles.end()) continue;
    try {
      watched.counter->take(offset, {static_cast<const std::uint8_t*>(bytes), count});
    } catch (const std::bad_alloc&) {
      watched.counter = nullptr;
    }
  }
}

}  // namespace fmp4
