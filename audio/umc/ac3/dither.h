// Noise in place of coefficients that have no bits (ATSC A/52, 7.3.4).
#pragma once

#include <cstddef>
#include <cstdint>

#include "dsp/block_float.h"

namespace UMC::ac3 {

// The noise of a frame depends on the frame's bytes alone, so that it sounds the same however the decoder
// came to it.
class DitherGenerator {
 public:
  // Starts from the two checksums of a frame of so many bytes, which all of them are in.
  DitherGenerator(const std::uint8_t* frame, std::size_t bytes);

  // The noise of the next coefficients, 1 to kMaxNoiseLength of them.
  NoiseSource Take(std::size_t count);

 private:
  std::uint32_t m_state;
};

}  // namespace UMC::ac3
