#include "audio/umc/aac/core/noise.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "dsp/ipps_vector.h"

namespace UMC::aac {

NoiseGenerator::NoiseGenerator(const std::uint8_t* block, std::size_t size) {
  // FNV-1a over eight-byte words, folded to the generator's width.
  std::uint64_t hash = 0xCBF29CE484222325u;
  constexpr std::uint64_t kPrime = 0x100000001B3u;
  std::size_t i = 0;
  for (; i + 8 <= size; i += 8) {
    std::uint64_t word = 0;
    for (std::size_t j = 0; j < 8; ++j) word |= std::uint64_t{block[i + j]} << 8 * j;
    hash = (hash ^ word) * kPrime;
    hash ^= hash >> 32;
  }
  for (; i < size; ++i) hash = (hash ^ block[i]) * kPrime;
  m_state = static_cast<std::uint32_t>(hash ^ hash >> 32);
}

void NoiseGenerator::Fill(int energy, int count, float* lines) {
  float power = 0;
  for (int i = 0; i < count; ++i) {
    m_state = m_state * 1664525u + 1013904223u;
    lines[i] = static_cast<float>(static_cast<std::int32_t>(m_state)) * 0x1p-31f;
    power += lines[i] * lines[i];
  }
  const auto exponent = static_cast<std::int16_t>(std::clamp(energy, -32768, 32767));
  float amplitude = 0;
  ippsCalcSF_16s32f(&exponent, 0, &amplitude, 1);
  if (power > 0) ippsMulC_32f_I(amplitude / std::sqrt(power), lines, static_cast<std::size_t>(count));
}

bool HasNoise(const ChannelStream& channel) {
  return std::memchr(channel.codebook, kNoiseCodebook, static_cast<std::size_t>(channel.ics.BandCount())) !=
         nullptr;
}

void ApplyNoise(ChannelStream& channel, NoiseGenerator& generator) {
  ForEachWindowBand(channel.ics, [&](int band, int first, int count) {
    if (channel.codebook[band] != kNoiseCodebook) return;
    generator.Fill(channel.scaleFactor[band], count, channel.spectrum + first);
  });
}

void ApplyNoise(ChannelStream& left, ChannelStream& right, const std::uint8_t* correlated,
                NoiseGenerator& generator) {
  ForEachWindowBand(left.ics, [&](int band, int first, int count) {
    NoiseGenerator same = generator;
    const bool leftIsNoise = left.codebook[band] == kNoiseCodebook;
    if (leftIsNoise) generator.Fill(left.scaleFactor[band], count, left.spectrum + first);
    if (right.codebook[band] != kNoiseCodebook) return;
    NoiseGenerator& source = leftIsNoise && correlated[band] != 0 ? same : generator;
    source.Fill(right.scaleFactor[band], count, right.spectrum + first);
  });
}

}  // namespace UMC::aac
