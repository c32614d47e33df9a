// Reads bits from memory, most significant bit first, through a 64-bit window.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/compiler.h"

namespace fmp4 {

// The eight bytes at `p` as a big-endian number.
inline std::uint64_t loadBigEndian(const std::uint8_t* p) {
  std::uint64_t value;
  std::memcpy(&value, p, sizeof value);
  return std::endian::native == std::endian::little ? swapBytes(value) : value;
}

// Writes the eight bytes of a big-endian number.
inline void storeBigEndian(std::uint64_t value, std::uint8_t* p) {
  if constexpr (std::endian::native == std::endian::little) value = swapBytes(value);
  std::memcpy(p, &value, sizeof value);
}

// NOLINTBEGIN(readability-identifier-naming): the decoders' reader, named as their functions are.

// Never reads outside the given bytes: past the end all bits are zero, and Overrun() stays true from then on.
// A parser may therefore run to completion and check once at the end.
class BitWindow {
 public:
  BitWindow() = default;
  BitWindow(const std::uint8_t* data, std::size_t size)
      : data_(data), size_(size), wholeEnd_(size < 8 ? 0 : size - 7) {}

  // Makes at least 56 bits available to Peek and Skip.
  void Refill() {
    if (next_ < wholeEnd_) [[likely]] {
      window_ |= loadBigEndian(data_ + next_) >> bits_;
      next_ += (63 - bits_) >> 3;
      bits_ |= 56;
    } else {
      RefillSlowly();
    }
  }

  // The next `count` bits, 1 to 57, without consuming them; limited to the bits that Refill made available.
  [[nodiscard]] std::uint64_t Peek(unsigned count) const { return window_ >> (64 - count); }

  // Consumes `count` bits; at most as many as are available.
  void Skip(unsigned count) {
    window_ <<= count;
    bits_ -= count;
  }

  // The next `count` bits, 0 to 32.
  std::uint32_t Read(unsigned count) {
    if (count == 0) return 0;
    Refill();
    const auto value = static_cast<std::uint32_t>(Peek(count));
    Skip(count);
    return value;
  }

  bool ReadFlag() { return Read(1) != 0; }

  // Bits consumed so far; may exceed the size of the data.
  [[nodiscard]] std::size_t Position() const { return next_ * 8 - bits_; }

  // Seeks to an absolute bit position, which may be past the end.
  void Seek(std::size_t position) {
    window_ = 0;
    bits_ = 0;
    next_ = position / 8;
    if (position % 8 != 0) Read(position % 8);
  }

  // Skips to the next multiple of 8 bits from the start of the data.
  void AlignToByte() { Read(static_cast<unsigned>(-Position() % 8)); }

  // Bits left; 0 past the end.
  [[nodiscard]] std::size_t Remaining() const { return Overrun() ? 0 : size_ * 8 - Position(); }

  // True once more bits have been consumed than there are.
  [[nodiscard]] bool Overrun() const { return Position() > size_ * 8; }

  [[nodiscard]] const std::uint8_t* Data() const { return data_; }
  [[nodiscard]] std::size_t Size() const { return size_; }

 private:
  void RefillSlowly() {
    while (bits_ < 56) {
      const std::uint64_t byte = next_ < size_ ? data_[next_] : 0;
      window_ |= byte << (56 - bits_);
      ++next_;
      bits_ += 8;
    }
  }

  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t wholeEnd_ = 0;  // eight bytes can be read at indices below
  std::size_t next_ = 0;      // index of the first byte not completely in the window
  std::uint64_t window_ = 0;  // the next bits, left-aligned
  unsigned bits_ = 0;         // valid bits in the window; the bits below are correct or zero
};
// NOLINTEND(readability-identifier-naming)

}  // namespace fmp4
