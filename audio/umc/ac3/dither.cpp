#include "audio/umc/ac3/dither.h"

namespace UMC::ac3 {

namespace {

constexpr float kAmplitude = 0.70710678f;

}  // namespace

DitherGenerator::DitherGenerator(const std::uint8_t* frame, std::size_t bytes) {
  const std::uint32_t first = static_cast<std::uint32_t>(frame[2] << 8 | frame[3]);
  const std::uint32_t second = static_cast<std::uint32_t>(frame[bytes - 2] << 8 | frame[bytes - 1]);
  m_state = first << 16 | second;
}

NoiseSource DitherGenerator::Take(std::size_t count) {
  const NoiseSource noise = {m_state, kAmplitude};
  m_state = kNoiseJumps.factors[count - 1] * m_state + kNoiseJumps.terms[count - 1];
  return noise;
}

}  // namespace UMC::ac3
