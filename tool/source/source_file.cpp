#include "tool/source/source_file.h"

#include <algorithm>

#include "base/user_error.h"
#include "mp4box/box.h"
#include "mp4box/require_read.h"
#include "tool/source/source_tracks.h"

namespace fmp4 {

namespace {

constexpr std::uint64_t kWindowBytes = 256 << 10;

}  // namespace

SourceFile::SourceFile(const std::string& path) : path_(path) {
  const VLHANDLE handle = stream_.open(path.c_str(), MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE)
    throw UserError("'" + path + "' cannot be opened; check the name");
  size_ = stream_.size();
  try {
    tracks_ = readTracks(stream_);
  } catch (const UserError&) {
    requireRead(stream_, path_);
    throw;
  }
  requireRead(stream_, path_);
  windows_.resize(tracks_.size());
}

std::span<std::uint8_t> SourceFile::read(const SourceTrack& track, std::size_t index) {
  const SourceSample sample = track.samples[index];
  Window& window = windows_[static_cast<std::size_t>(&track - tracks_.data())];
  const auto held = [&] {
    const std::uint64_t place = sample.offset - window.offset;
    return sample.offset >= window.offset && place <= window.count && sample.size <= window.count - place;
  };
  if (!held() && sample.offset <= size_) {
    const std::uint64_t piece = track.samples.bytesInOnePiece(index, kWindowBytes);
    fill(window, sample.offset, std::min(piece, size_ - sample.offset));
  }
  requireRead(stream_, path_);
  if (!held()) throw UserError("'" + path_ + "' ends before the samples that it lists");
  return {window.bytes.get() + (sample.offset - window.offset), sample.size};
}

// Reads what the file has of the bytes.
void SourceFile::fill(Window& window, std::uint64_t offset, std::uint64_t count) {
  if (count > window.capacity) {
    window.capacity = std::max(count, kWindowBytes);
    window.bytes = std::make_unique_for_overwrite<std::uint8_t[]>(window.capacity);
  }
  window.offset = offset;
  window.count = 0;
  if (count == 0 || !stream_.seek(offset)) return;
  const std::int64_t got = stream_.read(window.bytes.get(), static_cast<std::int64_t>(count));
  window.count = static_cast<std::uint64_t>(std::max<std::int64_t>(got, 0));
}

}  // namespace fmp4
