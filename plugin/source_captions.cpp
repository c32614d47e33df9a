// Reads the captions of a frame.
#include <algorithm>
#include <array>

#include "base/bytes.h"
#include "base/caption_area.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"
#include "plugin/messages.h"
#include "plugin/source.h"
#include "streaming/index/seek.h"

namespace fmp4 {

namespace {

using namespace caption_area;

constexpr std::size_t kLengthPlace = 6;
constexpr std::size_t kLengthSource = 9;

}  // namespace

// Seeks the caption readers to a frame that does not follow the previous one, or after they have lost their
// position.
void Source::seekCaptions(std::uint32_t frame, bool jumped) {
  if (tracks_[kCc608Track].present() && (jumped || !cc608_.cursor.loaded())) seekCc608(frame);
  if (tracks_[kCc708Track].present()) {
    const bool inPlace = cc708Cursor_.loaded() && cc708Cursor_.position == frame;
    // A frame without captions is no failure of the frame.
    if (!inPlace) static_cast<void>(SeekCc708Frame(*index_, frame, cc708Cursor_));
  }
}

void Source::seekCc608(std::uint32_t frame) {
  cc608SeekFrame_ = frame;
  if (!SeekCc608Frame(*index_, frame, cc608_).ok()) cc608_.forget();
}

// Delivers the byte pair of the frame. If none is pending for it, the frame may be in the next sample; an
// unknown position is sought again, so that captions resume after a damaged section.
void Source::deliverCc608(DFRAME& descriptor, std::uint32_t frame) {
  if (!tracks_[kCc608Track].present()) return;
  const bool waiting = cc608_.hasPair() && cc608_.ccFrame == frame;
  const bool due = cc608_.ccFrame == Cc608Reader::kNoFrame || frame >= cc608_.ccFrame;
  if (due && !waiting && cc608SeekFrame_ != frame) seekCc608(frame);
  if (!cc608_.hasPair() || cc608_.ccFrame != frame) return;
  descriptor.captionFlags |= DFRAME_CAPTION_608;
  descriptor.captionBytes = 2;
  std::copy_n(cc608_.pair(), 2, descriptor.captions);
  cc608_.dropPair();
}

// Delivers the caption packet of the frame.
std::uint32_t Source::deliverCc708(DFRAME& descriptor) {
  if (!tracks_[kCc708Track].present() || !cc708Cursor_.loaded()) return VL_OK;
  switch (cc708Cursor_.advance(*index_)) {
    case Advance::NoRun:
      return messages::fail(messages::kNoVideoChunkForFrame);
    case Advance::NoFragment:
      messages::reportError(messages::kNo708ChunkForFrame);
      return VL_OK;
    case Advance::Ready:
      break;
  }
  takeCc708Sample(descriptor);
  cc708Cursor_.next();
  ++cc708Cursor_.position;
  return VL_OK;
}

// Copies the packet from its "ccdp" box. A sample without a packet, or with one that exceeds the caption
// area, adds nothing.
void Source::takeCc708Sample(DFRAME& descriptor) {
  constexpr std::size_t kSpace = sizeof descriptor.captions - kDistributionStart;
  std::array<std::uint8_t, kBoxHeaderBytes + kSpace> sample;
  const std::size_t held = std::min<std::size_t>(cc708Cursor_.sampleSize(), sample.size());
  if (held <= kBoxHeaderBytes ||
      !cc708Cursor_.readAt(*index_, cc708Cursor_.sampleOffset(), held, sample.data()).ok())
    return;
  const std::uint32_t boxSize = Mp4LoadU32(sample.data());
  if (boxSize <= kBoxHeaderBytes || boxSize > held || Mp4LoadU32(sample.data() + 4) != box_type::kCcdp)
    return;
  const std::uint8_t* payload = sample.data() + kBoxHeaderBytes;
  const std::size_t payloadBytes = boxSize - kBoxHeaderBytes;

  std::uint8_t* area = descriptor.captions;
  std::fill(area + kPacketStart, area + kLengthSource + 1, std::uint8_t{0});
  const bool distribution = payloadBytes >= 2 && Mp4LoadU16(payload) == kDistributionIdentifier;
  if (distribution) {
    area[kPacketStart] = kDistributionWord & 0xFF;
    area[kPacketStart + 1] = kDistributionWord >> 8;
  }
  std::copy_n(payload, payloadBytes, area + (distribution ? kDistributionStart : kPacketStart));
  area[kLengthPlace] = area[kLengthSource];
  const std::uint32_t length = area[kLengthPlace] + std::uint32_t{kDistributionStart};
  if (mfCheck608708(area, length) != VL_OK) return;
  descriptor.captionFlags |= DFRAME_CAPTION_708;
  descriptor.captionBytes = length;
}

}  // namespace fmp4
