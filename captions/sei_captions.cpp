#include "captions/sei_captions.h"

#include <algorithm>
#include <array>

namespace fmp4::captions {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t kSeiNalUnit = 6;
constexpr std::size_t kRegisteredUserData = 4;  // payloadType of user_data_registered_itu_t_t35
// Country (United States), provider (ATSC), user identifier "GA94", type code of cc_data.
constexpr std::array<std::uint8_t, 8> kCaptionData = {0xB5, 0x00, 0x31, 'G', 'A', '9', '4', 0x03};
constexpr std::uint8_t kProcessDataFlag = 0x40;

// The payload of a NAL unit without emulation prevention bytes (ISO/IEC 14496-10, 7.4.1).
std::vector<std::uint8_t> rawPayload(Bytes nalUnit) {
  std::vector<std::uint8_t> raw;
  raw.reserve(nalUnit.size());
  unsigned zeros = 0;
  for (const std::uint8_t byte : nalUnit.subspan(1)) {
    const bool prevention = zeros >= 2 && byte == 3;
    zeros = byte == 0 ? zeros + 1 : 0;
    if (!prevention) raw.push_back(byte);
  }
  return raw;
}

// A number as SEI messages have it: bytes of 255, and a smaller one; their sum.
std::size_t takeNumber(Bytes& bytes) {
  std::size_t number = 0;
  while (!bytes.empty()) {
    const std::uint8_t byte = bytes[0];
    bytes = bytes.subspan(1);
    number += byte;
    if (byte != 0xFF) break;
  }
  return number;
}

// The constructs of an SEI message, added to `constructs`.
void addConstructs(Bytes message, std::vector<CcConstruct>& constructs) {
  constexpr std::size_t kStart = kCaptionData.size() + 2;  // flags and count, em_data
  if (message.size() < kStart || !std::equal(kCaptionData.begin(), kCaptionData.end(), message.begin()))
    return;
  const std::uint8_t flags = message[kCaptionData.size()];
  if ((flags & kProcessDataFlag) == 0) return;
  const std::size_t bytes = std::min((flags & std::size_t{0x1F}) * 3, message.size() - kStart);
  for (const CcConstruct& construct : parseConstructs(message.subspan(kStart, bytes)))
    constructs.push_back(construct);
}

void addFromSei(Bytes nalUnit, std::vector<CcConstruct>& constructs) {
  const std::vector<std::uint8_t> payload = rawPayload(nalUnit);
  // The last byte is rbsp_trailing_bits().
  for (Bytes rest = payload; rest.size() > 1;) {
    const std::size_t type = takeNumber(rest), size = takeNumber(rest);
    if (size > rest.size()) return;
    if (type == kRegisteredUserData) addConstructs(rest.first(size), constructs);
    rest = rest.subspan(size);
  }
}

}  // namespace

std::vector<CcConstruct> constructsInAccessUnit(Bytes accessUnit, unsigned lengthBytes) {
  std::vector<CcConstruct> constructs;
  while (accessUnit.size() > lengthBytes) {
    std::size_t size = 0;
    for (const std::uint8_t byte : accessUnit.first(lengthBytes)) size = size << 8 | byte;
    accessUnit = accessUnit.subspan(lengthBytes);
    if (size > accessUnit.size()) break;
    if (size > 1 && (accessUnit[0] & 0x1F) == kSeiNalUnit) addFromSei(accessUnit.first(size), constructs);
    accessUnit = accessUnit.subspan(size);
  }
  return constructs;
}

}  // namespace fmp4::captions
