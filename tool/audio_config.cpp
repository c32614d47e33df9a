#include "audio_config.h"

#include <array>

#include "bit_reader.h"

namespace {

constexpr std::array<std::uint32_t, 13> kSampleRates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                        22050, 16000, 12000, 11025, 8000,  7350};
constexpr std::uint32_t kRateInBits = 15;
constexpr std::uint32_t kObjectTypeFollows = 31;

constexpr std::uint32_t kSbr = 5, kParametricStereo = 29;

std::uint32_t takeObjectType(BitReader& bits) {
  const std::uint32_t type = bits.take(5);
  return type == kObjectTypeFollows ? 32 + bits.take(6) : type;
}

// 0 for a reserved rate.
std::uint32_t takeSampleRate(BitReader& bits) {
  const std::uint32_t index = bits.take(4);
  if (index == kRateInBits) return bits.take(24);
  return index < kSampleRates.size() ? kSampleRates[index] : 0;
}

// Whether the configuration of an object type goes on with a GASpecificConfig.
bool isGeneralAudio(std::uint32_t type) {
  return (type >= 1 && type <= 4) || type == 6 || type == 7 || type == 17 || (type >= 19 && type <= 23);
}

}  // namespace

std::optional<AudioConfig> parseAudioConfig(std::span<const std::uint8_t> config) {
  BitReader bits(config);
  AudioConfig parsed;
  parsed.objectType = takeObjectType(bits);
  parsed.sampleRate = takeSampleRate(bits);
  if (bits.pastEnd() || parsed.sampleRate == 0) return std::nullopt;
  bits.take(4);  // channelConfiguration
  std::uint32_t core = parsed.objectType;
  if (core == kSbr || core == kParametricStereo) {
    takeSampleRate(bits);
    core = takeObjectType(bits);
  }
  const bool frameLengthFlag = bits.take(1) != 0;
  parsed.shortFrames = isGeneralAudio(core) && frameLengthFlag && !bits.pastEnd();
  return parsed;
}
