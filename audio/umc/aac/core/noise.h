// Perceptual noise substitution (ISO/IEC 14496-3, 4.6.13).
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/core/channel_stream.h"

namespace UMC::aac {

// A linear congruential generator. A block's noise depends only on the block's bytes, so that a frame sounds
// the same wherever decoding started.
class NoiseGenerator {
 public:
  NoiseGenerator(const std::uint8_t* block, std::size_t size);

  // Fills `lines` with noise whose squares sum to 2^(energy / 2).
  void Fill(int energy, int count, float* lines);

 private:
  std::uint32_t m_state;
};

bool HasNoise(const ChannelStream& channel);

// Fills the noise bands of one channel.
void ApplyNoise(ChannelStream& channel, NoiseGenerator& generator);

// The same for a pair with common windows. Bands that are noise in both channels have the same noise where
// `correlated` (by IcsInfo::Band) is set.
void ApplyNoise(ChannelStream& left, ChannelStream& right, const std::uint8_t* correlated,
                NoiseGenerator& generator);

}  // namespace UMC::aac
