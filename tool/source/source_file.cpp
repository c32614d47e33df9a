#include "tool/source/source_file.h"

#include "base/user_error.h"
#include "mp4box/box.h"
#include "tool/source/source_tracks.h"

SourceFile::SourceFile(const std::string& path) : path_(path) {
  const VLHANDLE handle = stream_.open(path.c_str(), MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE)
    throw UserError("'" + path + "' cannot be opened; check the name");
  const Mp4BoxPtr root(Mp4ReadRoot(stream_, true));
  if (!root) throw UserError("'" + path + "' cannot be read");
  size_ = stream_.size();
  tracks_ = readTracks(root.get(), size_);
}

std::span<std::uint8_t> SourceFile::read(const SourceSample& sample) {
  const bool held = sample.offset <= size_ && sample.size <= size_ - sample.offset;
  if (held && sample.size > capacity_) {
    buffer_ = std::make_unique_for_overwrite<std::uint8_t[]>(sample.size);
    capacity_ = sample.size;
  }
  if (!held || !stream_.seek(sample.offset) || stream_.read(buffer_.get(), sample.size) != sample.size)
    throw UserError("'" + path_ + "' ends before the samples that it lists");
  return {buffer_.get(), sample.size};
}
