// sbr_grid(): the division of a frame into envelopes and noise floors (ISO/IEC 14496-3, 4.4.2.8, 4.6.18.3.3).
#pragma once

#include <cstdint>

#include "base/bit_window.h"

namespace UMC::aac {

inline constexpr int kMaxSbrEnvelopes = 5;
inline constexpr int kMaxSbrNoiseFloors = 2;

enum class SbrFrameClass : std::uint8_t { kFixFix, kFixVar, kVarFix, kVarVar };

struct SbrGrid {
  SbrFrameClass frameClass;
  std::uint8_t envelopes;
  std::uint8_t noiseFloors;
  // In time slots of two QMF samples. A frame's last border may be up to three slots into the next frame.
  std::uint8_t borders[kMaxSbrEnvelopes + 1];         // t_E
  std::uint8_t noiseBorders[kMaxSbrNoiseFloors + 1];  // t_Q
  bool highResolution[kMaxSbrEnvelopes];              // bs_freq_res
  std::int8_t transient;                              // l_A: index of the envelope with a transient, -1: none

  // The transient is at the very end of the frame: the next frame's first envelope contains it.
  [[nodiscard]] bool EndsInTransient() const { return transient == envelopes; }
};

// Reads the grid of a frame of `slots` time slots, 16 or 15. False if the borders are not ascending.
bool ParseSbrGrid(fmp4::BitWindow& stream, int slots, SbrGrid& grid);

}  // namespace UMC::aac
