#include "tool/source/source_captions.h"

#include <algorithm>

#include "base/bytes.h"
#include "base/fourcc.h"

namespace fmp4 {

namespace {

constexpr std::size_t kBoxHeader = 8;
// The caption area of a descriptor: the packet from byte 4 on; a caption distribution packet (SMPTE ST 334-2)
// follows the word 353 and its own length.
constexpr std::size_t kPacketStart = 4;
constexpr std::size_t kDistributionStart = 7;

// The payload of the sample's box of this type; a sample without one is taken as it is.
std::vector<std::uint8_t> payloadOf(std::span<const std::uint8_t> sample, std::uint32_t type) {
  const bool boxed = sample.size() >= kBoxHeader && Mp4LoadU32(sample.data() + 4) == type;
  const std::size_t start = boxed ? kBoxHeader : 0;
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
  const bool is608 = track_->codec == Mp4FourCc("c608");
  bool moved = false;
  for (; track_->next < track_->samples.size(); ++track_->next) {
    const std::int64_t start = frameOf(track_->present(track_->samples[track_->next]));
    if (start > frame) break;
    start_ = start;
    payload_ = payloadOf(source_.read(*track_, track_->next), is608 ? Mp4FourCc("cdat") : Mp4FourCc("ccdp"));
    moved = true;
  }
  if (is608)
    addPair(descriptor, frame - start_);
  else if (moved && frame == start_)
    addPacketTo(descriptor, payload_);
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
  const bool distribution = packet.size() >= 3 && packet[0] == 0x96 && packet[1] == 0x69;
  if (distribution) {
    area[kPacketStart] = 0x61;
    area[kPacketStart + 1] = 0x01;
    area[kPacketStart + 2] = packet[2];
  }
  const std::size_t start = distribution ? kDistributionStart : kPacketStart;
  std::copy(packet.begin(), packet.end(), area + start);
  descriptor.captionFlags |= DFRAME_CAPTION_708;
  descriptor.captionBytes = static_cast<std::uint32_t>(start + packet.size());
}

}  // namespace fmp4
