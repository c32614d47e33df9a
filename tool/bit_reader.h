// Bits of a byte string, the highest of each byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

class BitReader {
 public:
  explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  // The next `count` bits, at most 32. Zeros past the end.
  std::uint32_t take(unsigned count) {
    std::uint32_t value = 0;
    for (; count > 0; --count, ++place_)
      value = value << 1 | (place_ / 8 < bytes_.size() ? bytes_[place_ / 8] >> (7 - place_ % 8) & 1u : 0u);
    return value;
  }
  // Whether bits were taken that are not there.
  bool pastEnd() const { return place_ > bytes_.size() * 8; }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t place_ = 0;
};
