#include "playlist_writer.h"

#include <filesystem>

void PlaylistWriter::Start(const std::string& path, const PlaylistSettings& settings) {
  path_ = path;
  settings_ = settings;
  lastEnd_ = 0;
  writtenBytes_ = 0;
  const std::string header = PlaylistHeader(settings);
  file_.reset(std::fopen(path.c_str(), "w"));
  append(header);
}

void PlaylistWriter::AddSegment(std::uint64_t endPosition, std::uint64_t start, std::uint64_t end) {
  append(PlaylistEntry(settings_, endPosition - lastEnd_, start, end));
  lastEnd_ = endPosition;
}

void PlaylistWriter::End() {
  append(kPlaylistEnd);
  file_.reset();
}

void PlaylistWriter::append(const std::string& lines) {
  if (!file_) return;
  if (std::fputs(lines.c_str(), file_.get()) < 0 || std::fflush(file_.get()) != 0) return takeBack();
  std::error_code unknown;
  writtenBytes_ = std::filesystem::file_size(path_, unknown);
}

// Players read the file while it grows: an entry that did not get through whole is taken back, and without
// its header the file is none.
void PlaylistWriter::takeBack() {
  file_.reset();
  std::error_code ignored;
  if (writtenBytes_ == 0)
    std::filesystem::remove(path_, ignored);
  else
    std::filesystem::resize_file(path_, writtenBytes_, ignored);
}
