// Perceptual noise substitution (ISO/IEC 14496-3, 4.6.13).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/core/channel_stream.h"

namespace UMC::aac {

// A linear congruential generator. The noise of a block depends on the block's bytes alone, so that a frame
// sounds the same however the decoder came to it.
class NoiseGenerator {
 public:
  NoiseGenerator(const std::uint8_t* block, std::size_t size);

  // Fills `lines` with noise whose squares sum up to 2^(energy / 2).
  void Fill(int energy, int count, float* lines);

 private:
  std::uint32_t m_state;
};

bool HasNoise(const ChannelStream& channel);

// Fills the noise bands of one channel.
void ApplyNoise(ChannelStream& channel, NoiseGenerator& generator);

// The same for a pair with common windows, where bands that are noise in both channels share their shape
// if `correlated` (by IcsInfo::Band) tells so.
void ApplyNoise(ChannelStream& left, ChannelStream& right, const std::uint8_t* correlated,
                NoiseGenerator& generator);

}  // namespace UMC::aac
