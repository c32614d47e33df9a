// Decodes a parsed block to interleaved samples: the order of the decoder's stages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "audio/umc/aac/decoder_memory.h"
#include "audio/umc/status.h"

namespace UMC::aac {

// The parsed block in the decoder's work area, its bytes in the stream, and the memory to decode it with.
class BlockDecoder {
 public:
  BlockDecoder(LockedMemory& memory, std::span<const std::uint8_t> bytes)
      : m_memory(memory), m_bytes(bytes) {}

  // Adapts the decoder to the block: its layout, the areas it needs and whether it has SBR. To be called
  // first. -881 if there are no channels, -883 without memory.
  [[nodiscard]] Status Prepare();

  // Maximum number of output bytes: the block may be the first one with parametric stereo.
  [[nodiscard]] std::size_t LargestOutput() const;

  // Decodes the block into `output`, which has space for LargestOutput; returns the bytes written. The
  // decoder is then ready for the next block.
  std::size_t Decode(std::int16_t* output);

 private:
  bool MakeAreas();

  LockedMemory& m_memory;
  std::span<const std::uint8_t> m_bytes;
};

}  // namespace UMC::aac
