#include "base/crc32.h"

#include <array>

#include "base/crc32_fold.h"

namespace fmp4 {

namespace {

// By table and byte: the remainder of the byte followed by as many zero bytes as the table's number.
using Tables = std::array<std::array<std::uint32_t, 256>, 8>;

constexpr Tables makeTables() {
  Tables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t value = byte;
    for (int bit = 0; bit < 8; ++bit) value = crc32TimesX(value);
    tables[0][byte] = value;
  }
  for (std::size_t t = 1; t < tables.size(); ++t) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t value = tables[t - 1][byte];
      tables[t][byte] = value >> 8 ^ tables[0][value & 255];
    }
  }
  return tables;
}

constexpr Tables kTables = makeTables();

// Eight bytes at a time, then the rest.
std::uint32_t update(std::uint32_t state, std::span<const std::uint8_t> bytes) {
  for (; bytes.size() >= 8; bytes = bytes.subspan(8)) {
    std::uint32_t next = 0;
    for (std::size_t i = 0; i < 4; ++i) next ^= kTables[7 - i][(state >> 8 * i ^ bytes[i]) & 255];
    for (std::size_t i = 4; i < 8; ++i) next ^= kTables[7 - i][bytes[i]];
    state = next;
  }
  for (const std::uint8_t byte : bytes) state = state >> 8 ^ kTables[0][(state ^ byte) & 255];
  return state;
}

}  // namespace

std::uint32_t crc32(std::span<const std::uint8_t> bytes, InstructionSet set) {
  std::uint32_t state = ~0u;
  if (const auto fold = Crc32Folding::of(set); fold && bytes.size() >= Crc32Folding::kBlock) {
    Crc32Folding::Block block;
    const std::size_t folded = fold(state, bytes, block);
    state = update(0, block);
    bytes = bytes.subspan(folded);
  }
  return ~update(state, bytes);
}

#if !defined(VL_SIMD)
Crc32Folding::Fold Crc32Folding::of(InstructionSet) {
  return nullptr;
}
#endif

}  // namespace fmp4
