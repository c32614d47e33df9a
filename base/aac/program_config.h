// program_config_element(): a program's elements and where their channels play (ISO/IEC 14496-3, 4.4.1.1).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::aac {

// Elements of one place: front, side and back have up to 15, low frequency effects up to 3.
struct ProgramElements {
  std::uint8_t count;
  struct Item {
    bool isPair;
    std::uint8_t tag;
  } items[15];
};

struct ProgramConfig {
  std::uint8_t objectType;  // the profile, one less than the audio object type
  std::uint8_t samplingIndex;
  ProgramElements front, side, back, lfe;
  std::int8_t mixdownIndex;  // matrix_mixdown_idx, -1: not sent
};

// Reads the element from behind its tag; alignment counts from the start of `stream`. False for a sampling
// frequency index that stands for none.
bool ParseProgramConfig(BitWindow& stream, ProgramConfig& program);

}  // namespace UMC::aac
