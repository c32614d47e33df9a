// The headers of ADTS frames (ISO/IEC 14496-3, 1.A.2.2).
#pragma once

#include <cstddef>
#include <cstdint>

namespace UMC::aac {

inline constexpr std::size_t kAdtsHeaderBytes = 7;
// The longest frame that a header can tell.
inline constexpr std::size_t kLongestAdtsFrame = 8191;
// What is needed to look at a frame: its header and a checksum.
inline constexpr std::size_t kAdtsLookBytes = 9;

struct AdtsHeader {
  int profile;               // audio object type less 1
  int samplingIndex;         // may stand for no frequency
  int channelConfiguration;  // 0: a program config element tells
  bool protectionAbsent;
  std::size_t frameLength;  // bytes, header and checksums included; not trustworthy
  int blocks;               // raw data blocks, 1 to 4

  // Bytes ahead of the first raw data block.
  [[nodiscard]] std::size_t HeaderBytes() const {
    return kAdtsHeaderBytes + (protectionAbsent ? 0 : 2 * static_cast<std::size_t>(blocks));
  }
};

// Reads a header of kAdtsHeaderBytes bytes. False when it is none.
bool ParseAdtsHeader(const std::uint8_t* data, AdtsHeader& header);

// Which indices of a sampling frequency a header may have.
enum class AdtsRates { kKnown, kAny };

// The offset of the first header, or `size` when there is none.
std::size_t FindAdtsHeader(const std::uint8_t* data, std::size_t size, AdtsRates rates);

// The first three header bytes as a number, of which kAdtsPatternMask selects what stays the same from
// frame to frame: all but protection_absent, the private bit and the channel configuration's high bit.
inline constexpr std::uint32_t kAdtsPatternMask = 0xFFFEFC;
inline constexpr std::size_t kAdtsPatternBytes = 3;
inline std::uint32_t AdtsPattern(const std::uint8_t* data) {
  return static_cast<std::uint32_t>(data[0] << 16 | data[1] << 8 | data[2]);
}

// The offset of the first place that shows `pattern` under the mask, or `size` when there is none.
std::size_t FindAdtsPattern(const std::uint8_t* data, std::size_t size, std::uint32_t pattern);

// Bytes at the end, fewer than a whole pattern, that may be the start of one.
std::size_t PartialAdtsPattern(const std::uint8_t* data, std::size_t size, std::uint32_t pattern);

// Where a stream begins.
struct AdtsStart {
  std::size_t offset;  // of the first frame; the input's size when there is none
  bool proven;         // another header with the same pattern follows it
};

// Finds the start of a stream. What looks like a header may be none, or damaged: that one counts which
// another of its pattern follows where its frame ends; else one whose frame the input ends with, or the
// first.
AdtsStart FindAdtsStart(const std::uint8_t* data, std::size_t size);

}  // namespace UMC::aac
