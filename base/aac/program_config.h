// program_config_element(): the elements of a program and their speaker positions (ISO/IEC 14496-3, 4.4.1.1).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::aac {

// Elements of one position: front, side and back have up to 15, LFE up to 3.
struct ProgramElements {
  std::uint8_t count;
  struct Item {
    bool isPair;
    std::uint8_t tag;
  } items[15];
};

struct ProgramConfig {
  std::uint8_t objectType;  // profile field: audio object type minus 1
  std::uint8_t samplingIndex;
  ProgramElements front, side, back, lfe;
  std::int8_t mixdownIndex;  // matrix_mixdown_idx; -1: not transmitted
};

// Reads the element, starting after its tag. Alignment is relative to the start of `stream`. Returns false if
// the sampling frequency index is reserved.
bool ParseProgramConfig(fmp4::BitWindow& stream, ProgramConfig& program);

}  // namespace UMC::aac
