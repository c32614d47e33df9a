// Box writing primitives, and outputs.
#include "mp4box/output.h"

#include <algorithm>
#include <array>
#include <new>

namespace fmp4 {

namespace {

template <unsigned Count>
bool writeBigEndian(Mp4Output& out, std::uint64_t value) {
  std::array<std::uint8_t, Count> bytes;
  for (unsigned i = Count; i-- > 0; value >>= 8) bytes[i] = static_cast<std::uint8_t>(value);
  return out.write(bytes.data(), Count);
}

}  // namespace

bool Mp4MemoryOutput::write(const void* source, std::uint32_t count) try {
  if (position_ > bytes.size()) return false;  // the owner removed bytes
  const auto* first = static_cast<const std::uint8_t*>(source);
  const auto over = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, bytes.size() - position_));
  bytes.insert(bytes.end(), first + over, first + count);
  std::copy(first, first + over, bytes.begin() + static_cast<std::ptrdiff_t>(position_));
  position_ += count;
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

bool Mp4MemoryOutput::seek(std::uint64_t offset) {
  if (offset > bytes.size()) return false;
  position_ = offset;
  return true;
}

bool Mp4WriteBytes(Mp4Output& out, const void* bytes, std::uint32_t count) {
  return out.write(bytes, count);
}
bool Mp4WriteU8(Mp4Output& out, std::uint8_t value) {
  return writeBigEndian<1>(out, value);
}
bool Mp4WriteU16(Mp4Output& out, std::uint16_t value) {
  return writeBigEndian<2>(out, value);
}
bool Mp4WriteU24(Mp4Output& out, std::uint32_t value) {
  return writeBigEndian<3>(out, value);
}
bool Mp4WriteU32(Mp4Output& out, std::uint32_t value) {
  return writeBigEndian<4>(out, value);
}
bool Mp4WriteU64(Mp4Output& out, std::uint64_t value) {
  return writeBigEndian<8>(out, value);
}

unsigned Mp4WriteDescrLength(Mp4Output& out, std::uint32_t value, bool sized, bool emit) {
  unsigned count = 4;
  if (sized) count = value < 0x80 ? 1 : value < 0x4000 ? 2 : value < 0x200000 ? 3 : 4;
  if (emit) {
    std::array<std::uint8_t, 4> groups;
    for (unsigned i = count; i-- > 0; value >>= 7)
      groups[i] = static_cast<std::uint8_t>((value & 0x7F) | (i + 1 < count ? 0x80 : 0));
    Mp4WriteBytes(out, groups.data(), count);
  }
  return count;
}

void Mp4BoxBegin(Mp4Output& out, Mp4BoxMark& mark, std::uint32_t type) {
  mark.end = 0;
  mark.start = out.tell();
  if (Mp4WriteU32(out, 0)) Mp4WriteU32(out, type);
}

void Mp4BoxEnd(Mp4Output& out, Mp4BoxMark& mark) {
  mark.end = out.tell();
  out.seek(mark.start);
  Mp4WriteU32(out, static_cast<std::uint32_t>(mark.end - mark.start));
  out.seek(mark.end);
}

}  // namespace fmp4
