// The names of codecs in manifests and playlists (RFC 6381).
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace fmp4 {

// "avc1." and the bytes that follow the version in an AVCDecoderConfigurationRecord: profile, compatibility
// and level (ISO/IEC 14496-15, 5.3.3.1). Only as many as there are; "avc1" for none.
std::string avcCodecText(std::span<const std::uint8_t> profileCompatibilityLevel);

// "mp4a.40." and the audio object type that an AudioSpecificConfig signals; empty if it cannot be parsed.
std::string aacCodecText(std::span<const std::uint8_t> audioSpecificConfig);

// As manifests write it, from the object type byte. Intended (quirk 50): the type is taken from two bits of
// it.
std::string manifestAudioCodecText(std::uint8_t objectType);

}  // namespace fmp4
