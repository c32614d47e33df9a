// The checksums of a sync frame (ATSC A/52, 6.1.7 and 7.10.1).
#pragma once

#include <cstddef>
#include <cstdint>

namespace UMC::ac3 {

// The remainder of `size` bytes, most significant bit first, modulo x^16 + x^15 + x^2 + 1, with an initial
// register of 0. It is 0 for bytes that include their own checksum.
std::uint16_t CrcRemainder(const std::uint8_t* data, std::size_t size);

// The remainders of parts of a buffer, for the search for frames: parts may overlap in any way, and each byte
// is processed once.
class PassingCrc {
 public:
  // Maximum length of a part, and maximum distance of its start before the furthest end so far.
  static constexpr std::size_t kReach = 4096;

  explicit PassingCrc(const std::uint8_t* data) : m_data(data) {}

  // As CrcRemainder, for the bytes from `begin` to `end` - 1.
  std::uint16_t Remainder(std::size_t begin, std::size_t end);

  // Bytes processed so far.
  [[nodiscard]] std::size_t Passed() const { return m_passed; }

 private:
  std::uint16_t RegisterAt(std::size_t position);

  const std::uint8_t* m_data;
  std::size_t m_passed = 0;
  std::size_t m_position = 0;              // offset of the next byte to process
  std::uint16_t m_registers[kReach] = {};  // register before each byte, by its offset modulo kReach
};

}  // namespace UMC::ac3
