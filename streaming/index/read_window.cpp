#include "streaming/index/read_window.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace fmp4 {

namespace {

// Large enough to make small samples cheap, small enough to stay in the processor's cache.
constexpr std::uint64_t kBytes = 256 << 10;
// Read after a jump.
constexpr std::uint64_t kFirstBytes = 4 << 10;
// Each read on from there is this many times the one before.
constexpr std::uint64_t kGrowth = 4;
// Samples of at least this size are read directly to their destination.
constexpr std::uint64_t kDirectBytes = 16 << 10;

}  // namespace

bool ReadWindow::open() {
  if (!bytes_) bytes_.reset(new (std::nothrow) std::uint8_t[kBytes]);
  return bytes_ != nullptr;
}

void ReadWindow::close() {
  *this = ReadWindow();
}

std::uint64_t ReadWindow::held(std::uint64_t offset) const {
  return offset >= offset_ && offset < end() ? end() - offset : 0;
}

std::uint64_t ReadWindow::expected(std::uint64_t offset) {
  const bool afterWindow = offset >= offset_ && offset <= end() + ahead_;
  const bool afterLast = offset >= asked_ && offset - asked_ <= ahead_;
  const bool readOn = ahead_ != 0 && (afterWindow || afterLast);
  ahead_ = readOn ? std::min(ahead_ * kGrowth, kBytes) : kFirstBytes;
  return ahead_;
}

std::uint64_t ReadWindow::fill(Mp4Stream& file, std::uint64_t offset, std::uint64_t count) {
  const std::uint64_t kept = held(offset);
  const std::uint64_t wanted = std::max(count, std::min(kept + expected(offset + kept), kBytes));
  if (kept != 0) std::memmove(bytes_.get(), bytes_.get() + (offset - offset_), kept);
  offset_ = offset;
  fill_ = kept;
  const std::int64_t got =
      file.readAhead(offset + kept, bytes_.get() + kept, static_cast<std::int64_t>(count - kept),
                     static_cast<std::int64_t>(wanted - kept));
  if (got > 0) fill_ += static_cast<std::uint64_t>(got);
  return fill_;
}

const std::uint8_t* ReadWindow::view(Mp4Stream& file, std::uint64_t offset, std::uint64_t count) {
  if (!bytes_ || count > kBytes) return nullptr;
  if (held(offset) < count && fill(file, offset, count) < count) return nullptr;
  asked_ = offset + count;
  return bytes_.get() + (offset - offset_);
}

bool ReadWindow::read(Mp4Stream& file, std::uint64_t offset, std::uint64_t count, std::uint8_t* destination) {
  const std::uint64_t kept = std::min(count, held(offset));
  if (count - kept >= kDirectBytes) {
    if (kept != 0) std::memcpy(destination, bytes_.get() + (offset - offset_), kept);
    const auto rest = static_cast<std::int64_t>(count - kept);
    asked_ = offset + count;
    return file.seek(offset + kept) && file.read(destination + kept, rest) == rest;
  }
  if (count == 0) return true;
  const std::uint8_t* const bytes = view(file, offset, count);
  if (bytes) std::memcpy(destination, bytes, count);
  return bytes != nullptr;
}

}  // namespace fmp4
