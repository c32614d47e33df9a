// The part of the check that is calculated by carry-less multiplication.
//
// Polynomials have their highest power in the lowest bit here, as the check transmits them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/instruction_set.h"

namespace fmp4 {

// value * x, modulo the polynomial of the check, which is this and x^32.
constexpr std::uint32_t crc32TimesX(std::uint32_t value) {
  return value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320 : 0);
}

// Folds as much of `bytes` as makes whole blocks, at least one, into `block`, which has the same remainder;
// `state` is that of the bytes before. Returns the number of bytes folded.
struct Crc32Folding {
  static constexpr std::size_t kBlock = 16;
  using Block = std::array<std::uint8_t, kBlock>;
  using Fold = std::size_t (*)(std::uint32_t state, std::span<const std::uint8_t> bytes, Block& block);
  // Null: the instruction set has no carry-less multiplication.
  static Fold of(InstructionSet set);
};

}  // namespace fmp4
