// Extracts channel pairs from interleaved PCM, as found in broadcast wave data.
#pragma once

#include <cstdint>

namespace fmp4 {

// Extracts channel `firstChannel` and the next one from `frames` frames of `channels` interleaved 24-bit
// samples and writes them as pairs of 32-bit values, with the sample in the upper 24 bits. If there is no
// next channel, the second value is 0. Returns 0; does nothing for 0 frames or an invalid first channel.
std::uint32_t VLAudioDeinterleaveBWF24nchanto32stereo(const std::uint8_t* source, std::int32_t* destination,
                                                      std::uint32_t firstChannel, std::uint32_t channels,
                                                      std::uint32_t frames, bool littleEndian);

// The same for 16-bit samples, which are placed in bits 8 to 23 with zeros above.
std::uint32_t VLAudioDeinterleaveBWF16nchanto32stereo(const std::uint8_t* source, std::int32_t* destination,
                                                      std::uint32_t firstChannel, std::uint32_t channels,
                                                      std::uint32_t frames, bool littleEndian);

}  // namespace fmp4
