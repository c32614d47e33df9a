#include "audio/umc/ac3/crc.h"

#include <array>

namespace UMC::ac3 {

namespace {

constexpr unsigned kPolynomial = 0x8005;
constexpr std::size_t kStep = 8;  // bytes processed at a time

// [i][b]: the remainder of byte b followed by i zero bytes.
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
      // The next table's bytes are followed by one more zero byte: the register continues from here.
    }
  }
  return tables;
}

constexpr Tables kTables = MakeTables();

constexpr std::uint16_t TakeByte(std::uint16_t crc, std::uint8_t byte) {
  return static_cast<std::uint16_t>(crc << 8 ^ kTables[0][byte ^ crc >> 8]);
}

// [n]: x to the power of 8 n, the factor that appends n zero bytes to a remainder.
constexpr auto kZeroBytes = [] {
  std::array<std::uint16_t, PassingCrc::kReach> powers{1};
  for (std::size_t n = 1; n < powers.size(); ++n) powers[n] = TakeByte(powers[n - 1], 0);
  return powers;
}();

// The product of two remainders, as polynomials.
std::uint16_t Multiply(unsigned a, unsigned b) {
  unsigned product = 0;
  for (int bit = 15; bit >= 0; --bit) {
    product = product << 1 ^ ((product & 0x8000) != 0 ? kPolynomial : 0) ^ ((a >> bit & 1) != 0 ? b : 0);
  }
  return static_cast<std::uint16_t>(product);
}

}  // namespace

std::uint16_t CrcRemainder(const std::uint8_t* data, std::size_t size) {
  unsigned crc = 0;
  for (; size >= kStep; size -= kStep, data += kStep) {
    crc = kTables[7][data[0] ^ crc >> 8] ^ kTables[6][data[1] ^ (crc & 0xFF)];
    for (std::size_t i = 2; i < kStep; ++i) crc ^= kTables[kStep - 1 - i][data[i]];
  }
  auto remainder = static_cast<std::uint16_t>(crc);
  for (; size > 0; --size, ++data) remainder = TakeByte(remainder, *data);
  return remainder;
}

// Bytes before the part contribute as if followed by zeros in the part's place; subtract that.
std::uint16_t PassingCrc::Remainder(std::size_t begin, std::size_t end) {
  if (begin > m_position) {  // the bytes between were not requested
    m_position = begin;
    m_registers[begin % kReach] = 0;
  }
  const std::uint16_t upToEnd = RegisterAt(end);
  return upToEnd ^ Multiply(RegisterAt(begin), kZeroBytes[end - begin]);
}

std::uint16_t PassingCrc::RegisterAt(std::size_t position) {
  for (; m_position < position; ++m_position, ++m_passed) {
    m_registers[(m_position + 1) % kReach] = TakeByte(m_registers[m_position % kReach], m_data[m_position]);
  }
  return m_registers[position % kReach];
}

}  // namespace UMC::ac3
