#include "source_file.h"

#include "box.h"
#include "commands.h"
#include "source_tracks.h"

SourceFile::SourceFile(const std::string& path) : path_(path) {
  const VLHANDLE handle = stream_.open(path.c_str(), MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE)
    throw ToolError("'" + path + "' cannot be opened; check the name");
  const Mp4BoxPtr root(Mp4ReadRoot(stream_, true));
  if (!root) throw ToolError("'" + path + "' cannot be read");
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
    throw ToolError("'" + path_ + "' ends before the samples that it lists");
  return {buffer_.get(), sample.size};
}
