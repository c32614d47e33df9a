#include "audio/umc/aac/core/adts.h"

#include <algorithm>

#include "audio/umc/aac/core/scale_factor_bands.h"
#include "base/bit_window.h"

namespace UMC::aac {

namespace {

// What follows a frame, according to its header's length.
enum class AdtsNext { kHeader, kEnd, kBeyondInput, kOther };

AdtsNext NextOf(const std::uint8_t* data, std::size_t size) {
  AdtsHeader header;
  ParseAdtsHeader(data, header);
  if (header.frameLength < header.HeaderBytes()) return AdtsNext::kOther;
  if (header.frameLength > size) return AdtsNext::kBeyondInput;
  const std::uint8_t* rest = data + header.frameLength;
  const std::size_t restSize = size - header.frameLength;
  const std::uint32_t pattern = AdtsPattern(data);
  if (restSize < kAdtsPatternBytes) {
    return PartialAdtsPattern(rest, restSize, pattern) == restSize ? AdtsNext::kEnd : AdtsNext::kOther;
  }
  return FindAdtsPattern(rest, kAdtsPatternBytes, pattern) == 0 ? AdtsNext::kHeader : AdtsNext::kOther;
}

}  // namespace

bool ParseAdtsHeader(const std::uint8_t* data, AdtsHeader& header) {
  fmp4::BitWindow stream(data, kAdtsHeaderBytes);
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
  return true;
}

std::size_t FindAdtsHeader(const std::uint8_t* data, std::size_t size, AdtsRates rates) {
  AdtsHeader header;
  for (std::size_t i = 0; i + kAdtsHeaderBytes <= size; ++i) {
    if (!ParseAdtsHeader(data + i, header)) continue;
    if (rates == AdtsRates::kAny || header.samplingIndex < kSamplingIndexCount) return i;
  }
  return size;
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

AdtsStart FindAdtsStart(const std::uint8_t* data, std::size_t size) {
  const std::size_t first = FindAdtsHeader(data, size, AdtsRates::kKnown);
  if (first == size) return {size, false};
  // The next frame's header is at most one maximum frame length after the first header.
  const std::size_t end = std::min(size, first + kMaxAdtsFrame + kAdtsHeaderBytes);
  std::size_t likely = end;
  for (std::size_t at = first; at < end;
       at += 1 + FindAdtsHeader(data + at + 1, end - at - 1, AdtsRates::kKnown)) {
    const AdtsNext next = NextOf(data + at, size - at);
    // Headers with the same pattern may precede it, with a damaged length.
    if (next == AdtsNext::kHeader) return {FindAdtsPattern(data, size, AdtsPattern(data + at)), true};
    const bool fits = next == AdtsNext::kEnd || (next == AdtsNext::kBeyondInput && at == first);
    if (fits && likely == end) likely = at;
  }
  return {likely == end ? first : likely, false};
}

}  // namespace UMC::aac
