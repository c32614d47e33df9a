#include "streaming/lists/codec_text.h"

#include <algorithm>

#include "base/aac/audio_specific_config.h"
#include "base/text.h"

namespace fmp4 {

std::string avcCodecText(std::span<const std::uint8_t> profileCompatibilityLevel) {
  const auto named =
      profileCompatibilityLevel.first(std::min<std::size_t>(3, profileCompatibilityLevel.size()));
  return named.empty() ? "avc1" : "avc1." + hexText(named);
}

std::string aacCodecText(std::span<const std::uint8_t> audioSpecificConfig) {
  UMC::aac::AudioSpecificConfig config{};
  if (!UMC::aac::ParseAudioSpecificConfig(audioSpecificConfig.data(), audioSpecificConfig.size(), config))
    return {};
  return "mp4a.40." + std::to_string(config.signalledType);
}

std::string manifestAudioCodecText(std::uint8_t objectType) {
  const std::uint8_t type = (objectType & 3u) + 2u;
  return "mp4a.40." + hexText({&type, 1});
}

}  // namespace fmp4
