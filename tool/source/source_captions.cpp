#include "tool/source/source_captions.h"

#include <algorithm>

#include "base/bytes.h"
#include "base/caption_area.h"
#include "base/codec_code.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"

namespace fmp4 {

namespace {

using namespace caption_area;

// The payload of the sample's box of this type; a sample without one is taken as it is.
std::vector<std::uint8_t> payloadOf(std::span<const std::uint8_t> sample, std::uint32_t type) {
  const bool boxed = sample.size() >= kBoxHeaderBytes && Mp4LoadU32(sample.data() + 4) == type;
  const std::size_t start = boxed ? kBoxHeaderBytes : 0;
  const std::size_t size =
      boxed ? std::min<std::size_t>(Mp4LoadU32(sample.data()), sample.size()) : sample.size();
  if (size <= start) return {};
  return {sample.begin() + static_cast<std::ptrdiff_t>(start),
          sample.begin() + static_cast<std::ptrdiff_t>(size)};
}

}  // namespace

void SourceCaptions::addTo(DFRAME& descriptor, std::int64_t frame,
                           const std::function<std::int64_t(double)>& frameOf) {
  if (!track_) return;
  const bool is608 = track_->codec == kC608;
  bool moved = false;
  for (; track_->next < track_->samples.size(); ++track_->next) {
    const std::int64_t start = frameOf(track_->present(track_->samples[track_->next]));
    if (start > frame) break;
    start_ = start;
    payload_ = payloadOf(source_.read(*track_, track_->next), is608 ? box_type::kCdat : box_type::kCcdp);
    moved = true;
  }
  if (is608)
    addPair(descriptor, frame - start_);
  else if (moved && frame == start_)
    addPacketTo(descriptor, payload_);
}

void SourceCaptions::rewind() {
  if (track_) track_->next = 0;
  start_ = 0;
  payload_.clear();
}

void SourceCaptions::addPair(DFRAME& descriptor, std::int64_t index) const {
  if (index < 0 || static_cast<std::uint64_t>(index) >= payload_.size() / 2) return;
  const auto place = static_cast<std::size_t>(2 * index);
  addPairTo(descriptor, {payload_[place], payload_[place + 1]});
}

void addPairTo(DFRAME& descriptor, const std::array<std::uint8_t, 2>& pair) {
  descriptor.captionFlags |= DFRAME_CAPTION_608;
  descriptor.captionBytes = std::max(descriptor.captionBytes, 2u);
  std::copy(pair.begin(), pair.end(), descriptor.captions);
}

void addPacketTo(DFRAME& descriptor, std::span<const std::uint8_t> packet) {
  if (packet.empty() || packet.size() > sizeof descriptor.captions - kDistributionStart) return;
  std::uint8_t* const area = descriptor.captions;
  const bool distribution = packet.size() >= 3 && Mp4LoadU16(packet.data()) == kDistributionIdentifier;
  if (distribution) {
    area[kPacketStart] = kDistributionWord & 0xFF;
    area[kPacketStart + 1] = kDistributionWord >> 8;
    area[kPacketStart + 2] = packet[2];
  }
  const std::size_t start = distribution ? kDistributionStart : kPacketStart;
  std::copy(packet.begin(), packet.end(), area + start);
  descriptor.captionFlags |= DFRAME_CAPTION_708;
  descriptor.captionBytes = static_cast<std::uint32_t>(start + packet.size());
}

}  // namespace fmp4
