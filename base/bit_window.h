// A most-significant-bit-first reader over bytes in memory, through a 64-bit window.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// The eight bytes at `p`, the first the most significant.
inline std::uint64_t LoadBigEndian(const std::uint8_t* p) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  std::uint64_t value;
  std::memcpy(&value, p, sizeof value);
  return __builtin_bswap64(value);
#else
  std::uint64_t value = 0;
  for (int i = 0; i < 8; ++i) value = value << 8 | p[i];
  return value;
#endif
}

// Reads never touch memory outside the given bytes: past their end come zeros, and Overrun() tells so ever
// after. A parser may therefore run on and ask once at the end.
class BitWindow {
 public:
  BitWindow() = default;
  BitWindow(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  // Makes at least 56 bits available to Peek and Skip.
  void Refill() {
    if (size_ >= 8 && next_ <= size_ - 8) [[likely]] {
      window_ |= LoadBigEndian(data_ + next_) >> bits_;
      next_ += (63 - bits_) >> 3;
      bits_ |= 56;
    } else {
      RefillSlowly();
    }
  }

  // The next `count` bits, 1 to 57, without taking them; only what Refill has made available.
  [[nodiscard]] std::uint64_t Peek(unsigned count) const { return window_ >> (64 - count); }

  // Takes `count` bits, no more than are available.
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

  // Bits taken so far; may lie past the end.
  [[nodiscard]] std::size_t Position() const { return next_ * 8 - bits_; }

  // Goes to an absolute bit position, which may lie past the end.
  void Seek(std::size_t position) {
    window_ = 0;
    bits_ = 0;
    next_ = position / 8;
    if (position % 8 != 0) Read(position % 8);
  }

  // Goes on to the next multiple of 8 bits from the start of the data.
  void AlignToByte() { Read(static_cast<unsigned>(-Position() % 8)); }

  // Bits not yet taken; 0 past the end.
  [[nodiscard]] std::size_t Remaining() const { return Overrun() ? 0 : size_ * 8 - Position(); }

  // True once more bits were taken than there are.
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
  std::size_t next_ = 0;      // index of the first byte not wholly in the window
  std::uint64_t window_ = 0;  // the next bits, left-aligned
  unsigned bits_ = 0;         // how many of them count; those below are right or zero
};
