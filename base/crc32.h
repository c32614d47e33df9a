// The 32-bit cyclic redundancy check of ISO/IEC 3309, as PNG and gzip use it.
#pragma once

#include <cstdint>
#include <span>

#include "base/instruction_set.h"

namespace fmp4 {

// `set` is at most that of the processor; any gives the same result.
std::uint32_t crc32(std::span<const std::uint8_t> bytes, InstructionSet set);

inline std::uint32_t crc32(std::span<const std::uint8_t> bytes) {
  static const InstructionSet set = processorInstructionSet();
  return crc32(bytes, set);
}

}  // namespace fmp4
