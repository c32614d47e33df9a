// Byte pairs of CEA-608 for tests: codes of data channel 1 by their names in the standard, with parity.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <string_view>
#include <vector>

namespace fmp4::cea608 {

using Pair = std::array<std::uint8_t, 2>;
using Pairs = std::vector<Pair>;

inline std::uint8_t odd(unsigned byte) {
  return static_cast<std::uint8_t>(std::popcount(byte & 0x7Fu) % 2 ? byte & 0x7F : byte | 0x80);
}

inline constexpr unsigned RCL = 0x1420, BS = 0x1421, DER = 0x1424, RU2 = 0x1425, RU3 = 0x1426, RU4 = 0x1427,
                          FON = 0x1428, RDC = 0x1429, TR = 0x142A, RTD = 0x142B, EDM = 0x142C, CR = 0x142D,
                          ENM = 0x142E, EOC = 0x142F, TO1 = 0x1721, TO2 = 0x1722, TO3 = 0x1723;

// The code as data channel 2 has it.
inline constexpr unsigned inChannel2(unsigned code) {
  return code | 0x0800;
}

// Preamble address codes of rows 1 to 15 with the lowest five bits of the table's columns.
inline unsigned pac(unsigned row, unsigned attribute = 0) {
  constexpr std::uint16_t kBases[] = {0x1140, 0x1160, 0x1240, 0x1260, 0x1540, 0x1560, 0x1640, 0x1660,
                                      0x1740, 0x1760, 0x1040, 0x1340, 0x1360, 0x1440, 0x1460};
  return kBases[row - 1] + attribute;
}
// With an indent of 0, 4, ... 28 columns.
inline unsigned pacIndent(unsigned row, unsigned columns) {
  return pac(row, 0x10 + columns / 2);
}

inline Pair pairOf(unsigned code) {
  return {odd(code >> 8), odd(code)};
}

// A code once, and as it is sent.
inline Pairs once(unsigned code) {
  return {pairOf(code)};
}
inline Pairs code(unsigned value) {
  return {pairOf(value), pairOf(value)};
}

inline Pairs chars(std::string_view characters) {
  Pairs pairs;
  for (std::size_t i = 0; i < characters.size(); i += 2) {
    const unsigned second = i + 1 < characters.size() ? static_cast<unsigned char>(characters[i + 1]) : 0u;
    pairs.push_back({odd(static_cast<unsigned char>(characters[i])), odd(second)});
  }
  return pairs;
}

inline Pairs nulls(std::size_t count) {
  return Pairs(count, Pair{0x80, 0x80});
}

inline Pairs operator+(Pairs left, const Pairs& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

}  // namespace fmp4::cea608
