// Noise that replaces coefficients without bits (ATSC A/52, 7.3.4).
#pragma once

#include <cstddef>
#include <cstdint>

#include "dsp/block_float.h"

namespace UMC::ac3 {

// A frame's noise depends only on the frame's bytes, so that it sounds the same wherever decoding started.
class DitherGenerator {
 public:
  // Seeded by the two checksums of a frame of `bytes` bytes, which together depend on all of them.
  DitherGenerator(const std::uint8_t* frame, std::size_t bytes);

  // The noise for the next `count` coefficients, 1 to kMaxNoiseLength.
  NoiseSource Take(std::size_t count);

 private:
  std::uint32_t m_state;
};

}  // namespace UMC::ac3
