// The primitives used by all box writers.
#pragma once

#include <cstdint>
#include <vector>

namespace fmp4 {

// The destination of boxes. The size of a box is patched in when the box is closed, so an output must be
// seekable.
class Mp4Output {
 public:
  virtual ~Mp4Output() = default;
  // Writes at the position and advances it. Returns whether all bytes were written.
  virtual bool write(const void* bytes, std::uint32_t count) = 0;
  virtual std::uint64_t tell() = 0;
  virtual bool seek(std::uint64_t offset) = 0;
};

// To memory, so that a complete fragment takes one host write. Offset 0 is the first byte of `bytes`.
class Mp4MemoryOutput : public Mp4Output {
 public:
  bool write(const void* bytes, std::uint32_t count) override;
  std::uint64_t tell() override { return position_; }
  bool seek(std::uint64_t offset) override;

  std::vector<std::uint8_t> bytes;

 private:
  std::uint64_t position_ = 0;
};

bool Mp4WriteBytes(Mp4Output& out, const void* bytes, std::uint32_t count);
// Big-endian. Each returns whether all bytes were written.
bool Mp4WriteU8(Mp4Output& out, std::uint8_t value);
bool Mp4WriteU16(Mp4Output& out, std::uint16_t value);
bool Mp4WriteU24(Mp4Output& out, std::uint32_t value);
bool Mp4WriteU32(Mp4Output& out, std::uint32_t value);
bool Mp4WriteU64(Mp4Output& out, std::uint64_t value);

// The length of a descriptor (ISO/IEC 14496-1, 8.3.3), 7 bits per byte, most significant group first. `sized`
// false: always 4 bytes; true: as few as the value needs (at most 4). Returns the number of bytes; writes
// them only if `emit`, so that the sizes of nested descriptors can be computed first.
unsigned Mp4WriteDescrLength(Mp4Output& out, std::uint32_t value, bool sized, bool emit);

// Start and end of a box being written.
struct Mp4BoxMark {
  std::uint64_t start = 0;  // file offset of the size field
  std::uint64_t end = 0;    // file offset of the end of the box
};

// Writes a placeholder for the size and, on success, the type.
void Mp4BoxBegin(Mp4Output& out, Mp4BoxMark& mark, std::uint32_t type);
// Patches the size in, always in 32-bit form: the size of a box of 4 GiB or more is truncated to 32 bits.
void Mp4BoxEnd(Mp4Output& out, Mp4BoxMark& mark);

}  // namespace fmp4
