// A stream directly on a host file handle.
#include "mp4box/stream.h"

#include <algorithm>
#include <limits>

namespace fmp4 {

namespace {

// Host reads and writes have a 32-bit byte count; larger transfers are split.
constexpr std::int64_t kMaxAtOnce = 1 << 30;

}  // namespace

VLHANDLE Mp4Stream::open(const char* path, std::uint32_t mode) {
  close();
  readFailures_ = 0;
  const bool readOnly = (mode & MP4_MODE_ACCESS) == MP4_MODE_READ;
  if (readOnly || (mode & (MP4_MODE_UPDATE | MP4_MODE_CREATE)))
    handle = vlOSCreateFile(
        path, readOnly ? VL_GENERIC_READ : VL_GENERIC_READ | VL_GENERIC_WRITE, VL_SHARE_READ_WRITE, nullptr,
        readOnly || (mode & MP4_MODE_UPDATE) ? VL_OPEN_EXISTING : VL_CREATE_ALWAYS, 0, VL_NO_HANDLE);
  return handle;
}

std::int64_t Mp4Stream::read(void* buffer, std::int64_t count) {
  std::int64_t total = 0;
  while (total < count) {
    const auto wanted = static_cast<std::uint32_t>(std::min(count - total, kMaxAtOnce));
    std::uint32_t done = 0;
    if (!vlOSReadFile(handle, static_cast<std::uint8_t*>(buffer) + total, wanted, &done)) {
      ErrOut("fmp4 file_read failure, error: %lu\n", static_cast<unsigned long>(vlOSGetLastError()));
      ++readFailures_;
      return 0;
    }
    total += done;
    if (done < wanted) break;
  }
  return total;
}

std::int64_t Mp4Stream::write(const void* buffer, std::int64_t count) {
  std::int64_t total = 0;
  while (total < count) {
    const auto wanted = static_cast<std::uint32_t>(std::min(count - total, kMaxAtOnce));
    std::uint32_t done = 0;
    const bool written =
        vlOSWriteFile(handle, static_cast<const std::uint8_t*>(buffer) + total, wanted, &done);
    if (!written || done == 0 || done > wanted) {
      ErrOut("fmp4 file_write failure, error: %lu\n", static_cast<unsigned long>(vlOSGetLastError()));
      return -1;
    }
    total += done;  // the host may have accepted fewer bytes than passed
  }
  return total;
}

std::int64_t Mp4Stream::peek(void* buffer, std::int64_t count) {
  const std::uint64_t start = tell();
  const std::int64_t done = read(buffer, count);
  seek(start);
  return done;
}

std::uint64_t Mp4Stream::tell() {
  return static_cast<std::uint64_t>(vlOSTell(handle));
}

std::int64_t Mp4Stream::close() {
  std::int64_t result = 0;
  if (handle != VL_NO_HANDLE && handle != VL_INVALID_HANDLE) result = vlOSCloseFile(handle);
  handle = VL_NO_HANDLE;
  return result;
}

bool Mp4Stream::seek(std::uint64_t offset) {
  if (offset > std::numeric_limits<std::int64_t>::max()) return false;
  if (vlOSSeek(handle, static_cast<std::int64_t>(offset), VL_SEEK_BEGIN) >= 0) return true;
  ++readFailures_;
  return false;
}

std::uint64_t Mp4Stream::size() {
  std::uint32_t high = 0;
  const std::uint32_t low = vlOSGetFileSize(handle, &high);
  const std::uint64_t size = static_cast<std::uint64_t>(high) << 32 | low;
  if (size != ~std::uint64_t{0}) return size;
  ++readFailures_;
  return 0;
}

const std::uint8_t* Mp4Stream::view(std::uint64_t, std::uint64_t) {
  return nullptr;
}

std::int64_t Mp4Stream::readAhead(std::uint64_t offset, void* buffer, std::int64_t needed,
                                  std::int64_t count) {
  const std::uint64_t before = readFailures_;
  const std::int64_t done = seek(offset) ? read(buffer, count) : 0;
  if (readFailures_ == before || needed == count) return done;
  readFailures_ = before;
  return seek(offset) ? read(buffer, needed) : 0;
}

Mp4Stream::~Mp4Stream() {
  Mp4Stream::close();
}

}  // namespace fmp4
