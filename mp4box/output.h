// The primitives that every box writer emits its box with.
#pragma once

#include <cstdint>
#include <vector>

#include "vlutil.h"

// Where boxes are written: something that can be written to, told and sought. A box's size is patched in
// when the box is closed, so a place to write must allow going back.
class Mp4Output {
 public:
  virtual ~Mp4Output() = default;
  // Writes at the position and advances it. Returns whether all bytes were written.
  virtual bool write(const void* bytes, std::uint32_t count) = 0;
  virtual std::uint64_t tell() = 0;
  virtual bool seek(std::uint64_t offset) = 0;
};

// Straight to a host file: one host write a primitive. Box writers do not look at each of their writes: a
// failure is kept, and nothing is written after it.
class Mp4FileOutput : public Mp4Output {
 public:
  explicit Mp4FileOutput(VLHANDLE handle) : handle_(handle) {}
  bool failed() const { return failed_; }
  bool write(const void* bytes, std::uint32_t count) override;
  std::uint64_t tell() override;
  bool seek(std::uint64_t offset) override;

 private:
  VLHANDLE handle_;
  bool failed_ = false;
};

// Into memory, so that a whole fragment can leave in one host write. Offset 0 is the first byte of `bytes`.
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
// Big-endian, most significant byte first. Each returns whether all bytes were written.
bool Mp4WriteU8(Mp4Output& out, std::uint8_t value);
bool Mp4WriteU16(Mp4Output& out, std::uint16_t value);
bool Mp4WriteU24(Mp4Output& out, std::uint32_t value);
bool Mp4WriteU32(Mp4Output& out, std::uint32_t value);
bool Mp4WriteU64(Mp4Output& out, std::uint64_t value);

// The length of a descriptor (ISO/IEC 14496-1, 8.3.3), 7 bits a byte, most significant group first.
// `sized` clear: always 4 bytes; set: as few as the value needs (at most 4). Returns the count of bytes;
// writes them only when `emit` is set, so that nested descriptors can be sized first.
unsigned Mp4WriteDescrLength(Mp4Output& out, std::uint32_t value, bool sized, bool emit);

// One box being written.
struct Mp4BoxMark {
  std::uint64_t start = 0;  // file offset of the size field
  std::uint64_t end = 0;    // file offset at which the box ended
};

// Writes a size placeholder and, if that worked, the type.
void Mp4BoxBegin(Mp4Output& out, Mp4BoxMark& mark, std::uint32_t type);
// Patches the size in. It is the 32-bit form always: a box of 4 GiB or more gets its size cut to 32 bits.
void Mp4BoxEnd(Mp4Output& out, Mp4BoxMark& mark);
