// Bytes of a file in memory, for parsing them without further host reads.
#pragma once

#include <cstdint>
#include <memory>
#include <new>

#include "mp4box/stream.h"

namespace fmp4 {

// A larger leaf box is not read; a larger top-level container is not read in one go.
inline constexpr std::uint64_t MP4_MAX_LEAF_BYTES = 256u << 20;

// A view into the stream if it holds the bytes, otherwise a copy read in one go.
class Mp4FileBytes {
 public:
  // Null if not all of them are available. They are valid as long as this object, and until the stream is
  // next used.
  const std::uint8_t* get(Mp4Stream& stream, std::uint64_t offset, std::uint64_t count) {
    if (const std::uint8_t* bytes = stream.view(offset, count)) return bytes;
    const std::uint64_t size = stream.size();
    if (count > MP4_MAX_LEAF_BYTES || offset > size || count > size - offset) return nullptr;
    read_.reset(new (std::nothrow) std::uint8_t[static_cast<std::size_t>(count)]);
    if (!read_ || !stream.seek(offset)) return nullptr;
    const auto wanted = static_cast<std::int64_t>(count);
    return stream.read(read_.get(), wanted) == wanted ? read_.get() : nullptr;
  }

 private:
  std::unique_ptr<std::uint8_t[]> read_;
};

}  // namespace fmp4
