#include "audio/deinterleave.h"

#include <cstddef>

namespace fmp4 {

namespace {

// The sample's `width` bytes as a number in bits 8 and up.
std::int32_t Load(const std::uint8_t* sample, std::size_t width, bool littleEndian) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < width; ++i) value = value << 8 | sample[littleEndian ? width - 1 - i : i];
  return static_cast<std::int32_t>(value << 8);
}

std::uint32_t Deinterleave(const std::uint8_t* source, std::int32_t* destination, std::uint32_t firstChannel,
                           std::uint32_t channels, std::uint32_t frames, bool littleEndian,
                           std::size_t width) {
  if (firstChannel >= channels) return 0;
  const bool hasNext = firstChannel + 1 < channels;
  const std::uint8_t* sample = source + firstChannel * width;
  for (std::uint32_t i = 0; i < frames; ++i) {
    *destination++ = Load(sample, width, littleEndian);
    *destination++ = hasNext ? Load(sample + width, width, littleEndian) : 0;
    if (i + 1 < frames) sample += channels * width;
  }
  return 0;
}

}  // namespace

std::uint32_t VLAudioDeinterleaveBWF24nchanto32stereo(const std::uint8_t* source, std::int32_t* destination,
                                                      std::uint32_t firstChannel, std::uint32_t channels,
                                                      std::uint32_t frames, bool littleEndian) {
  return Deinterleave(source, destination, firstChannel, channels, frames, littleEndian, 3);
}

std::uint32_t VLAudioDeinterleaveBWF16nchanto32stereo(const std::uint8_t* source, std::int32_t* destination,
                                                      std::uint32_t firstChannel, std::uint32_t channels,
                                                      std::uint32_t frames, bool littleEndian) {
  return Deinterleave(source, destination, firstChannel, channels, frames, littleEndian, 2);
}

}  // namespace fmp4
