#include "adts.h"

#include <algorithm>

#include "bit_window.h"
#include "scale_factor_bands.h"

namespace UMC::aac {

bool ParseAdtsHeader(const std::uint8_t* data, AdtsHeader& header) {
  BitWindow stream(data, kAdtsHeaderBytes);
  if (stream.Read(12) != 0xFFF) return false;
  stream.Read(1);                         // ID
  if (stream.Read(2) != 0) return false;  // layer
  header.protectionAbsent = stream.ReadFlag();
  header.profile = static_cast<int>(stream.Read(2));
  header.samplingIndex = static_cast<int>(stream.Read(4));
  stream.Read(1);  // private_bit
  header.channelConfiguration = static_cast<int>(stream.Read(3));
  stream.Read(4);  // original_copy, home, copyright_identification_bit and _start
  header.frameLength = stream.Read(13);
  stream.Read(11);  // adts_buffer_fullness
  header.blocks = static_cast<int>(stream.Read(2)) + 1;
  return header.samplingIndex < kSamplingIndexCount;
}

std::size_t FindAdtsPattern(const std::uint8_t* data, std::size_t size, std::uint32_t pattern) {
  for (std::size_t i = 0; i + kAdtsPatternBytes <= size; ++i) {
    if (((AdtsPattern(data + i) ^ pattern) & kAdtsPatternMask) == 0) return i;
  }
  return size;
}

std::size_t PartialAdtsPattern(const std::uint8_t* data, std::size_t size, std::uint32_t pattern) {
  for (std::size_t length = std::min(size, kAdtsPatternBytes - 1); length > 0; --length) {
    std::uint32_t bytes = 0;
    for (std::size_t i = 0; i < length; ++i) bytes |= std::uint32_t{data[size - length + i]} << (16 - 8 * i);
    const std::uint32_t sent = kAdtsPatternMask & (0xFFFFFFu << (8 * (kAdtsPatternBytes - length)));
    if (((bytes ^ pattern) & sent) == 0) return length;
  }
  return 0;
}

}  // namespace UMC::aac
