#include "audio_config.h"

#include <array>

namespace {

constexpr std::array<std::uint32_t, 13> kSampleRates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                        22050, 16000, 12000, 11025, 8000,  7350};
constexpr std::uint32_t kRateInBits = 15;
constexpr std::uint32_t kObjectTypeFollows = 31;

class Bits {
 public:
  explicit Bits(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
  // Zeros past the end.
  std::uint32_t take(unsigned count) {
    std::uint32_t value = 0;
    for (; count > 0; --count, ++place_)
      value = value << 1 | (place_ / 8 < bytes_.size() ? bytes_[place_ / 8] >> (7 - place_ % 8) & 1u : 0u);
    return value;
  }
  bool pastEnd() const { return place_ > bytes_.size() * 8; }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t place_ = 0;
};

}  // namespace

std::optional<AudioConfig> parseAudioConfig(std::span<const std::uint8_t> config) {
  Bits bits(config);
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
