// Writes bits, most significant first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fmp4 {

class BitWriter {
 public:
  void Write(std::uint64_t value, unsigned bits) {
    for (unsigned i = bits; i-- > 0;) {
      if (m_bits % 8 == 0) m_bytes.push_back(0);
      if ((value >> i & 1) != 0)
        m_bytes.back() = static_cast<std::uint8_t>(m_bytes.back() | 0x80 >> m_bits % 8);
      ++m_bits;
    }
  }
  void Align() {
    while (m_bits % 8 != 0) Write(0, 1);
  }
  void WriteBytes(const std::vector<std::uint8_t>& bytes) {
    for (const std::uint8_t byte : bytes) Write(byte, 8);
  }
  std::size_t Bits() const { return m_bits; }
  const std::vector<std::uint8_t>& Bytes() const { return m_bytes; }

 private:
  std::vector<std::uint8_t> m_bytes;
  std::size_t m_bits = 0;
};

}  // namespace fmp4
