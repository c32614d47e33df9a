// The header of a WAV file.
#pragma once

#include <cstdint>
#include <vector>

namespace fmp4 {

// PCM in a WAV file.
struct WaveFormat {
  std::uint32_t sampleRate;     // Hz
  std::uint16_t channels;       // 1 to 8, in WAVE order
  std::uint16_t bitsPerSample;  // a multiple of 8

  std::uint32_t frameBytes() const { return channels * (bitsPerSample / 8u); }
};

// Everything before the samples, of the same length for any number of samples: RIFF, or RF64 (EBU Tech 3306)
// when 32 bits cannot hold the sizes.
std::vector<std::uint8_t> waveHeader(const WaveFormat& format, std::uint64_t dataBytes);

}  // namespace fmp4
