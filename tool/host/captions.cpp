#include "tool/host/captions.h"

#include <algorithm>

namespace fmp4 {

namespace {

// DFRAME::captionBytes counts from the start of the area.
constexpr std::size_t kPairBytes = 2;
constexpr std::size_t kPacketOffset = 4;

}  // namespace

std::span<const std::uint8_t> captionPair(const DFRAME& descriptor) {
  if ((descriptor.captionFlags & DFRAME_CAPTION_608) == 0) return {};
  return {descriptor.captions, kPairBytes};
}

std::span<const std::uint8_t> captionPacket(const DFRAME& descriptor) {
  if ((descriptor.captionFlags & DFRAME_CAPTION_708) == 0) return {};
  const std::size_t end =
      std::clamp<std::size_t>(descriptor.captionBytes, kPacketOffset, sizeof descriptor.captions);
  return {descriptor.captions + kPacketOffset, end - kPacketOffset};
}

}  // namespace fmp4
