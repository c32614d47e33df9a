// A stream with read and write buffers.
#include <algorithm>
#include <cstring>
#include <limits>

#include "mp4box/stream.h"

namespace fmp4 {

Mp4BufferedStream::Mp4BufferedStream(std::unique_ptr<Mp4Stream> plain)
    : readBuffer_(new std::uint8_t[kBufferBytes]), writeBuffer_(new std::uint8_t[kBufferBytes]) {
  position_ = std::max<std::int64_t>(0, static_cast<std::int64_t>(plain->tell()));
  handle = plain->handle;
  plain->handle = VL_NO_HANDLE;
}

Mp4BufferedStream::~Mp4BufferedStream() {
  Mp4BufferedStream::close();
}

std::int64_t Mp4BufferedStream::read(void* buffer, std::int64_t count) {
  auto* target = static_cast<std::uint8_t*>(buffer);
  std::int64_t total = 0;
  while (total < count) {
    if (readOffset_ < 0 || position_ < readOffset_ || position_ - readOffset_ >= readFill_) {
      if (!seekHost(position_)) return -1;
      readOffset_ = -1;
      readFill_ = Mp4Stream::read(readBuffer_.get(), kBufferBytes);
      if (readFill_ <= 0) return readFill_ < 0 ? readFill_ : total;
      readOffset_ = position_;
    }
    const std::int64_t within = position_ - readOffset_;
    const std::int64_t part = std::min(count - total, readFill_ - within);
    std::memcpy(target + total, readBuffer_.get() + within, static_cast<std::size_t>(part));
    total += part;
    position_ += part;
  }
  return total;
}

std::int64_t Mp4BufferedStream::write(const void* buffer, std::int64_t count) {
  if (count < 1) return 0;
  if (count > std::numeric_limits<std::int64_t>::max() - position_) return -1;
  if (writeOffset_ + writeFill_ == position_ && count < kBufferBytes - writeFill_) {
    std::memcpy(writeBuffer_.get() + writeFill_, buffer, static_cast<std::size_t>(count));
    writeFill_ += count;
  } else {
    if (const std::int64_t result = flush(); result < 0) return result;
    if (count <= kBufferBytes) {
      std::memcpy(writeBuffer_.get(), buffer, static_cast<std::size_t>(count));
      writeOffset_ = position_;
      writeFill_ = count;
    } else {
      if (!seekHost(position_)) return -1;
      count = Mp4Stream::write(buffer, count);
      if (count < 0) return count;
    }
  }
  position_ += count;
  return count;
}

std::int64_t Mp4BufferedStream::peek(void* buffer, std::int64_t count) {
  if (!seekHost(position_)) return -1;
  const std::int64_t done = Mp4Stream::read(buffer, count);
  return seekHost(position_) ? done : -1;
}

std::uint64_t Mp4BufferedStream::tell() {
  return static_cast<std::uint64_t>(position_);
}

std::int64_t Mp4BufferedStream::close() {
  const std::int64_t flushed = flush();
  const std::int64_t closed = Mp4Stream::close();
  readOffset_ = -1;
  readFill_ = writeFill_ = writeOffset_ = position_ = 0;
  return flushed < 0 ? flushed : closed;
}

bool Mp4BufferedStream::seek(std::uint64_t offset) {
  if (offset > std::numeric_limits<std::int64_t>::max()) return false;
  position_ = static_cast<std::int64_t>(offset);
  return true;
}

bool Mp4BufferedStream::seekHost(std::int64_t offset) {
  return Mp4Stream::seek(static_cast<std::uint64_t>(offset));
}

std::int64_t Mp4BufferedStream::flush() {
  if (writeFill_ == 0) return 0;
  if (!seekHost(writeOffset_)) return -1;
  if (const std::int64_t result = Mp4Stream::write(writeBuffer_.get(), writeFill_); result < 0) return result;
  writeFill_ = 0;
  return 0;
}

}  // namespace fmp4
