// The checksums of a sync frame (ATSC A/52, 6.1.7 and 7.10.1).
#pragma once

#include <cstddef>
#include <cstdint>

namespace UMC::ac3 {

// The remainder of `size` bytes, most significant bit first, by x^16 + x^15 + x^2 + 1, from a register of 0:
// 0 for bytes that hold their own checksum.
std::uint16_t CrcRemainder(const std::uint8_t* data, std::size_t size);

// The remainders of parts of some bytes, for the search for frames: parts may overlap as they will, each byte
// is passed over once.
class PassingCrc {
 public:
  // Parts are no longer than this, and none begins so far before the furthest end of those before it.
  static constexpr std::size_t kReach = 4096;

  explicit PassingCrc(const std::uint8_t* data) : m_data(data) {}

  // As CrcRemainder, of the bytes from `begin` to `end` - 1.
  std::uint16_t Remainder(std::size_t begin, std::size_t end);

  // Bytes passed over so far.
  [[nodiscard]] std::size_t Passed() const { return m_passed; }

 private:
  std::uint16_t RegisterAt(std::size_t position);

  const std::uint8_t* m_data;
  std::size_t m_passed = 0;
  std::size_t m_position = 0;              // of the next byte to pass
  std::uint16_t m_registers[kReach] = {};  // before a byte, by its position modulo kReach
};

}  // namespace UMC::ac3
