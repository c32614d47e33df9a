#include "streaming/lists/playlist_writer.h"

#include <filesystem>

#include "os/path_name.h"

namespace fmp4 {

namespace {

// A text file of the C library, with the system's line ends.
std::FILE* create(const std::filesystem::path& path) {
#if defined(_WIN32)
  return _wfopen(path.c_str(), L"w");
#else
  return std::fopen(path.c_str(), "w");
#endif
}

}  // namespace

void PlaylistWriter::start(const std::string& path, const PlaylistSettings& settings) {
  path_ = vlPath(path);
  settings_ = settings;
  lastEnd_ = 0;
  writtenBytes_ = 0;
  const std::string header = playlistHeader(settings);
  file_.reset(create(path_));
  append(header);
}

void PlaylistWriter::AddSegment(std::uint64_t endPosition, std::uint64_t start, std::uint64_t end) {
  append(playlistEntry(settings_, endPosition - lastEnd_, start, end));
  lastEnd_ = endPosition;
}

void PlaylistWriter::end() {
  append(kPlaylistEnd);
  file_.reset();
}

void PlaylistWriter::append(const std::string& lines) {
  if (!file_) return;
  if (std::fputs(lines.c_str(), file_.get()) < 0 || std::fflush(file_.get()) != 0) return takeBack();
  writtenBytes_ = static_cast<std::uintmax_t>(std::ftell(file_.get()));
}

// Players read the file while it grows: an incomplete entry is removed, and so is a file without a complete
// header.
void PlaylistWriter::takeBack() {
  file_.reset();
  std::error_code ignored;
  if (writtenBytes_ == 0)
    std::filesystem::remove(path_, ignored);
  else
    std::filesystem::resize_file(path_, writtenBytes_, ignored);
}

}  // namespace fmp4
