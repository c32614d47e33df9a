#include "audio_config.h"

#include <array>

#include "bit_reader.h"

namespace {

constexpr std::array<std::uint32_t, 13> kSampleRates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                        22050, 16000, 12000, 11025, 8000,  7350};
constexpr std::uint32_t kRateInBits = 15;
constexpr std::uint32_t kObjectTypeFollows = 31;

}  // namespace

std::optional<AudioConfig> parseAudioConfig(std::span<const std::uint8_t> config) {
  BitReader bits(config);
  AudioConfig parsed;
  parsed.objectType = bits.take(5);
  if (parsed.objectType == kObjectTypeFollows) parsed.objectType = 32 + bits.take(6);
  const std::uint32_t index = bits.take(4);
  if (index == kRateInBits)
    parsed.sampleRate = bits.take(24);
  else if (index < kSampleRates.size())
    parsed.sampleRate = kSampleRates[index];
  if (bits.pastEnd() || parsed.sampleRate == 0) return std::nullopt;
  return parsed;
}
