#include "dither.h"

namespace UMC::ac3 {

DitherGenerator::DitherGenerator(const std::uint8_t* frame, std::size_t bytes) {
  const std::uint32_t first = static_cast<std::uint32_t>(frame[2] << 8 | frame[3]);
  const std::uint32_t second = static_cast<std::uint32_t>(frame[bytes - 2] << 8 | frame[bytes - 1]);
  m_state = first << 16 | second;
}

void AddDither(const std::uint8_t* pointers, const std::uint8_t* exponents, int start, int end,
               DitherGenerator& generator, float* coefficients) {
  DitherGenerator local = generator;  // in a register
  for (int bin = start; bin < end; ++bin) {
    // Drawn whether it is needed or not, which is hard to foresee.
    const float noise = local.Next(exponents[bin]);
    coefficients[bin] = pointers[bin] == 0 ? noise : coefficients[bin];
  }
  generator = local;
}

}  // namespace UMC::ac3
