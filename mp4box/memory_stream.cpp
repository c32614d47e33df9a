// A stream over bytes in memory.
#include <algorithm>
#include <cstring>

#include "mp4box/stream.h"

namespace fmp4 {

VLHANDLE Mp4MemoryStream::open(const char*, std::uint32_t) {
  return VL_NO_HANDLE;
}

std::int64_t Mp4MemoryStream::read(void* buffer, std::int64_t count) {
  const std::int64_t done = peek(buffer, count);
  position_ += static_cast<std::uint64_t>(done);
  return done;
}

std::int64_t Mp4MemoryStream::write(const void*, std::int64_t) {
  return -1;
}

std::int64_t Mp4MemoryStream::peek(void* buffer, std::int64_t count) {
  if (count < 1) return 0;
  const std::uint64_t within = position_ - base_;
  const std::uint64_t done = std::min(static_cast<std::uint64_t>(count), count_ - within);
  if (done) std::memcpy(buffer, data_ + within, static_cast<std::size_t>(done));
  return static_cast<std::int64_t>(done);
}

bool Mp4MemoryStream::seek(std::uint64_t offset) {
  if (offset < base_ || offset - base_ > count_) return false;
  position_ = offset;
  return true;
}

const std::uint8_t* Mp4MemoryStream::view(std::uint64_t offset, std::uint64_t count) {
  if (offset < base_ || offset - base_ > count_ || count > count_ - (offset - base_)) return nullptr;
  return data_ + (offset - base_);
}

}  // namespace fmp4
