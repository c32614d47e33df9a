#include "mediafile.h"

namespace {

// A caption area: the CEA-608 pair and two bytes of padding, then an ancillary data packet without its
// flag words (SMPTE ST 334-1): data identifier, secondary identifier, data count, the data.
constexpr std::uint32_t kPacketOffset = 4;
constexpr std::uint32_t kCountOffset = kPacketOffset + 2;
constexpr std::uint32_t kDataOffset = kPacketOffset + 3;

// A caption distribution packet (SMPTE ST 334-2) starts with 0x96 0x69 and its length in bytes.
constexpr std::uint32_t kLengthOffset = 2;

bool startsPacket(const std::uint8_t* data) {
  return data[0] == 0x96 && data[1] == 0x69;
}

}  // namespace

std::uint32_t mfCheck608708(const std::uint8_t* captions, std::uint32_t length) {
  if (captions == nullptr || length > sizeof(DFRAME::captions)) return VL_FAILED;
  // The packet may be stored directly in the area ...
  if (length > kPacketOffset + kLengthOffset && startsPacket(captions + kPacketOffset)) {
    const std::uint8_t packetLength = captions[kPacketOffset + kLengthOffset];
    return packetLength <= length - kPacketOffset ? VL_OK : VL_FAILED;
  }
  // ... or be the payload of an ancillary packet, whose data count then matches its length.
  if (length > kDataOffset + kLengthOffset && startsPacket(captions + kDataOffset)) {
    const std::uint8_t packetLength = captions[kDataOffset + kLengthOffset];
    const std::uint8_t count = captions[kCountOffset];
    return count == packetLength && count <= length - kDataOffset ? VL_OK : VL_FAILED;
  }
  return VL_OK;
}
