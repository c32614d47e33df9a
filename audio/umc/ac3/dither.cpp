#include "dither.h"

namespace UMC::ac3 {

DitherGenerator::DitherGenerator(const std::uint8_t* frame, std::size_t bytes) {
  const std::uint32_t first = static_cast<std::uint32_t>(frame[2] << 8 | frame[3]);
  const std::uint32_t second = static_cast<std::uint32_t>(frame[bytes - 2] << 8 | frame[bytes - 1]);
  m_state = first << 16 | second;
}

}  // namespace UMC::ac3
