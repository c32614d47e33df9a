// The headers of ADTS frames (ISO/IEC 14496-3, 1.A.2.2).
#pragma once

#include <cstddef>
#include <cstdint>

namespace UMC::aac {

inline constexpr std::size_t kAdtsHeaderBytes = 7;
// The longest frame that a header can specify.
inline constexpr std::size_t kMaxAdtsFrame = 8191;
// Bytes needed to inspect a frame: its header and a checksum.
inline constexpr std::size_t kAdtsProbeBytes = 9;

struct AdtsHeader {
  int profile;               // audio object type minus 1
  int samplingIndex;         // may be a reserved value
  int channelConfiguration;  // 0: specified by a program config element
  bool protectionAbsent;
  std::size_t frameLength;  // bytes, including header and checksums; not trustworthy
  int blocks;               // raw data blocks, 1 to 4

  // Bytes before the first raw data block.
  [[nodiscard]] std::size_t HeaderBytes() const {
    return kAdtsHeaderBytes + (protectionAbsent ? 0 : 2 * static_cast<std::size_t>(blocks));
  }
};

// Reads a header of kAdtsHeaderBytes bytes. False if it is not one.
bool ParseAdtsHeader(const std::uint8_t* data, AdtsHeader& header);

// Which sampling frequency indices are accepted in a header.
enum class AdtsRates { kKnown, kAny };

// The offset of the first header, or `size` if there is none.
std::size_t FindAdtsHeader(const std::uint8_t* data, std::size_t size, AdtsRates rates);

// The first three header bytes as a number. kAdtsPatternMask selects the bits that stay the same from frame
// to frame: all but protection_absent, the private bit and the channel configuration's high bit.
inline constexpr std::uint32_t kAdtsPatternMask = 0xFFFEFC;
inline constexpr std::size_t kAdtsPatternBytes = 3;
inline std::uint32_t AdtsPattern(const std::uint8_t* data) {
  return static_cast<std::uint32_t>(data[0] << 16 | data[1] << 8 | data[2]);
}

// The offset of the first match of `pattern` under the mask, or `size` if there is none.
std::size_t FindAdtsPattern(const std::uint8_t* data, std::size_t size, std::uint32_t pattern);

// Number of bytes at the end, fewer than a complete pattern, that may be the start of one.
std::size_t PartialAdtsPattern(const std::uint8_t* data, std::size_t size, std::uint32_t pattern);

// The start of a stream.
struct AdtsStart {
  std::size_t offset;  // first frame; the input's size if there is none
  bool proven;         // followed by another header with the same pattern
};

// Finds the start of a stream. What looks like a header may be something else, or damaged. Prefers a header
// whose frame is followed by another header of the same pattern; then one whose frame ends with the input;
// then the first.
AdtsStart FindAdtsStart(const std::uint8_t* data, std::size_t size);

}  // namespace UMC::aac
