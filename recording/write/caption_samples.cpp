#include "recording/write/caption_samples.h"

#include "base/caption_area.h"
#include "mediafile.h"

namespace fmp4 {

std::array<std::uint8_t, 2> cc608PairOf(const DFRAME& frame) {
  if (!(frame.captionFlags & DFRAME_CAPTION_608)) return {0x80, 0x80};
  return {frame.captions[0], frame.captions[1]};
}

std::span<const std::uint8_t> cc708PacketOf(const DFRAME& frame) {
  const std::uint8_t* const area = frame.captions;
  const std::uint32_t length = frame.captionBytes;
  if (!(frame.captionFlags & DFRAME_CAPTION_708) || length <= caption_area::kDistributionStart ||
      length > sizeof frame.captions || mfCheck608708(area, length) != VL_OK) {
    return {};
  }
  const bool wrapped = area[caption_area::kPacketStart] == (caption_area::kDistributionWord & 0xFF) &&
                       area[caption_area::kPacketStart + 1] == caption_area::kDistributionWord >> 8;
  const std::size_t start = wrapped ? caption_area::kDistributionStart : caption_area::kPacketStart;
  return {area + start, length - start};
}

}  // namespace fmp4
