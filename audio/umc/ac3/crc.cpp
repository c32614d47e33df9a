#include "crc.h"

#include <array>

namespace UMC::ac3 {

namespace {

constexpr unsigned kPolynomial = 0x8005;
constexpr std::size_t kStep = 8;  // bytes taken at a time

// [i][b]: the remainder of the byte b with i zero bytes behind it.
using Tables = std::array<std::array<std::uint16_t, 256>, kStep>;

constexpr Tables MakeTables() {
  Tables tables{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    unsigned remainder = byte << 8;
    for (auto& table : tables) {
      for (int bit = 0; bit < 8; ++bit) {
        remainder = (remainder << 1) ^ ((remainder & 0x8000) != 0 ? kPolynomial : 0);
      }
      remainder &= 0xFFFF;
      table[byte] = static_cast<std::uint16_t>(remainder);
      // The next table's bytes are followed by one zero byte more: the register goes on from here.
    }
  }
  return tables;
}

constexpr Tables kTables = MakeTables();

}  // namespace

std::uint16_t CrcRemainder(const std::uint8_t* data, std::size_t size) {
  unsigned crc = 0;
  for (; size >= kStep; size -= kStep, data += kStep) {
    crc = kTables[7][data[0] ^ crc >> 8] ^ kTables[6][data[1] ^ (crc & 0xFF)];
    for (std::size_t i = 2; i < kStep; ++i) crc ^= kTables[kStep - 1 - i][data[i]];
  }
  for (; size > 0; --size, ++data) {
    crc = (crc << 8 & 0xFFFF) ^ kTables[0][*data ^ crc >> 8];
  }
  return static_cast<std::uint16_t>(crc);
}

}  // namespace UMC::ac3
