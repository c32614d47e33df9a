// Packets that tell the stand-in's decoder what to answer and which samples to output. It also takes sync
// frames of AC-3, and outputs their first checksum for every sample.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace fmp4 {

// As a packet's result: its frame takes no bytes of it, and what follows is refused.
inline constexpr std::int32_t kStandInTakesNothing = 0x7FFFFFFF;

// The header of a packet; the bytes of plane A follow, then those of plane B.
struct StandInPacket {
  std::int32_t result = 0;  // what the call returns; 0: the bytes of the packet
  std::int32_t gotFrame = 1;
  std::int32_t format = 1;  // AVSampleFormat
  std::int32_t channels = 2;
  std::int32_t samples = 0;  // of each channel
  std::int32_t planeABytes = 0;
  std::int32_t planeBBytes = 0;  // 0: no such plane
};

inline std::vector<std::uint8_t> packetBytes(const StandInPacket& head,
                                             const std::vector<std::uint8_t>& planes) {
  std::vector<std::uint8_t> bytes(sizeof head);
  std::memcpy(bytes.data(), &head, sizeof head);
  bytes.insert(bytes.end(), planes.begin(), planes.end());
  return bytes;
}

// Makes the stand-in lack its E-AC-3 decoder.
inline constexpr char kStandInLacksEac3[] = "STAND_IN_LACKS_EAC3";
// Makes the stand-in's decoders fail to open.
inline constexpr char kStandInRefusesToOpen[] = "STAND_IN_REFUSES_TO_OPEN";
// The versions that stand-ins with version functions report: a number, decimal.
inline constexpr char kStandInAvcodecVersion[] = "STAND_IN_AVCODEC_VERSION";
inline constexpr char kStandInAvutilVersion[] = "STAND_IN_AVUTIL_VERSION";

}  // namespace fmp4
