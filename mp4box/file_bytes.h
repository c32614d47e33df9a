// Bytes of a file in memory, for parsing them without further host reads.
#pragma once

#include <cstdint>
#include <memory>
#include <new>

#include "base/result.h"
#include "mp4box/stream.h"

namespace fmp4 {

// A larger leaf box is not read; a larger top-level container is not read in one go.
inline constexpr std::uint64_t MP4_MAX_LEAF_BYTES = 256u << 20;

// A view into the stream if it holds the bytes, otherwise a copy read in one go.
class Mp4FileBytes {
 public:
  // Makes `count` bytes at a file offset available as data(). Fails if not all of them are.
  [[nodiscard]] Result fetch(Mp4Stream& stream, std::uint64_t offset, std::uint64_t count) {
    data_ = stream.view(offset, count);
    if (data_) return {};
    const std::uint64_t size = stream.size();
    if (offset > size || count > size - offset) return Defect::BoxPastFile;
    if (count > MP4_MAX_LEAF_BYTES) return Defect::BoxTooLarge;
    read_.reset(new (std::nothrow) std::uint8_t[static_cast<std::size_t>(count)]);
    if (!read_) return Defect::OutOfMemory;
    const auto wanted = static_cast<std::int64_t>(count);
    if (!stream.seek(offset) || stream.read(read_.get(), wanted) != wanted) return Defect::ReadFailed;
    data_ = read_.get();
    return {};
  }

  // The bytes fetched; null after a failure. Valid as long as this object, and until the stream is next used.
  const std::uint8_t* data() const { return data_; }

 private:
  std::unique_ptr<std::uint8_t[]> read_;
  const std::uint8_t* data_ = nullptr;
};

}  // namespace fmp4
