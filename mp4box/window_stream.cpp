#include "mp4box/window_stream.h"

#include <algorithm>
#include <cstring>

namespace fmp4 {

namespace {

// Larger reads bypass the window and go directly to their destination.
constexpr std::uint64_t kMaxBytes = 1 << 20;

}  // namespace

VLHANDLE Mp4WindowStream::open(const char*, std::uint32_t) {
  return VL_NO_HANDLE;
}

std::int64_t Mp4WindowStream::write(const void*, std::int64_t) {
  return -1;
}

bool Mp4WindowStream::seek(std::uint64_t offset) {
  position_ = offset;
  return true;
}

std::uint64_t Mp4WindowStream::cover(std::uint64_t offset, std::uint64_t count) {
  const bool inside = offset >= window_.offset && offset < window_.end();
  if (inside && count <= window_.end() - offset) return count;
  const std::uint64_t held = inside ? window_.end() - offset : 0;
  if (offset >= size_) return 0;
  const std::uint64_t wanted = std::min(std::max(count, ahead_), size_ - offset);
  if (wanted <= held) return held;
  // Moves the bytes from `offset` on to the front of the window and reads the rest after them.
  std::vector<std::uint8_t>& bytes = window_.bytes;
  if (inside)
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(offset - window_.offset));
  bytes.resize(static_cast<std::size_t>(wanted));
  window_.offset = offset;
  const std::uint64_t needed = std::min(count, wanted);
  const std::int64_t done =
      file_.readAhead(offset + held, bytes.data() + held, static_cast<std::int64_t>(needed - held),
                      static_cast<std::int64_t>(wanted - held));
  bytes.resize(static_cast<std::size_t>(held) + static_cast<std::size_t>(std::max<std::int64_t>(done, 0)));
  return std::min<std::uint64_t>(count, bytes.size());
}

std::int64_t Mp4WindowStream::peek(void* buffer, std::int64_t count) {
  const std::uint64_t held = cover(position_, static_cast<std::uint64_t>(count));
  if (held != 0) std::memcpy(buffer, window_.bytes.data() + (position_ - window_.offset), held);
  return static_cast<std::int64_t>(held);
}

std::int64_t Mp4WindowStream::read(void* buffer, std::int64_t count) {
  std::int64_t done = 0;
  if (static_cast<std::uint64_t>(count) <= kMaxBytes) {
    done = peek(buffer, count);
  } else if (file_.seek(position_)) {
    done = file_.read(buffer, count);
  }
  position_ += static_cast<std::uint64_t>(done);
  return done;
}

const std::uint8_t* Mp4WindowStream::view(std::uint64_t offset, std::uint64_t count) {
  if (count > kMaxBytes || offset > size_ || count > size_ - offset) return nullptr;
  if (cover(offset, count) < count) return nullptr;
  return window_.bytes.data() + (offset - window_.offset);
}

}  // namespace fmp4
