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

// A frame without captions is no failure of the frame.
std::uint32_t statusOf(Result captions) {
  return leftUnread(captions) ? messages::fail(messages::kCaptionsNotRead) : VL_OK;
}

}  // namespace

// Seeks the caption readers to a frame that does not follow the previous one, or after they have lost their
// position.
std::uint32_t Source::seekCaptions(std::uint32_t frame, bool jumped) {
  if (tracks_[kCc608Track].present() && (jumped || !cc608_.cursor.loaded())) {
    if (const std::uint32_t result = seekCc608(frame); result != VL_OK) return result;
  }
  if (!tracks_[kCc708Track].present()) return VL_OK;
  const bool inPlace = cc708Cursor_.loaded() && cc708Cursor_.position == frame;
  return inPlace ? VL_OK : statusOf(SeekCc708Frame(*index_, frame, cc708Cursor_));
}

std::uint32_t Source::seekCc608(std::uint32_t frame) {
  cc608SeekFrame_ = frame;
  const Result sought = SeekCc608Frame(*index_, frame, cc608_);
  if (!sought.ok()) cc608_.forget();
  if (leftUnread(sought)) cc608SeekFrame_ = QVR_NOT_SET;
  return statusOf(sought);
}

// Delivers the byte pair of the frame. If none is pending for it, the frame may be in the next sample; an
// unknown position is sought again, so that captions resume after a damaged section.
std::uint32_t Source::deliverCc608(DFRAME& descriptor, std::uint32_t frame) {
  if (!tracks_[kCc608Track].present()) return VL_OK;
  const bool waiting = cc608_.hasPair() && cc608_.ccFrame == frame;
  const bool due = cc608_.ccFrame == Cc608Reader::kNoFrame || frame >= cc608_.ccFrame;
  if (due && !waiting && cc608SeekFrame_ != frame) {
    if (const std::uint32_t result = seekCc608(frame); result != VL_OK) return result;
  }
  if (!cc608_.hasPair() || cc608_.ccFrame != frame) return VL_OK;
  descriptor.captionFlags |= DFRAME_CAPTION_608;
  descriptor.captionBytes = 2;
  std::copy_n(cc608_.pair(), 2, descriptor.captions);
  cc608_.dropPair();
  return VL_OK;
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
    case Advance::Unread:
      return messages::fail(messages::kCaptionsNotRead);
    case Advance::Ready:
      break;
  }
  if (const std::uint32_t result = takeCc708Sample(descriptor); result != VL_OK) return result;
  cc708Cursor_.next();
  ++cc708Cursor_.position;
  return VL_OK;
}

// Copies the packet from its "ccdp" box. A sample without a packet, or with one that exceeds the caption
// area, adds nothing.
std::uint32_t Source::takeCc708Sample(DFRAME& descriptor) {
  constexpr std::size_t kSpace = sizeof descriptor.captions - kDistributionStart;
  std::array<std::uint8_t, kBoxHeaderBytes + kSpace> sample;
  const std::size_t held = std::min<std::size_t>(cc708Cursor_.sampleSize(), sample.size());
  if (held <= kBoxHeaderBytes) return VL_OK;
  const Result read = cc708Cursor_.readAt(*index_, cc708Cursor_.sampleOffset(), held, sample.data());
  if (!read.ok()) return statusOf(read);
  const std::uint32_t boxSize = Mp4LoadU32(sample.data());
  if (boxSize <= kBoxHeaderBytes || boxSize > held || Mp4LoadU32(sample.data() + 4) != box_type::kCcdp)
    return VL_OK;
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
  if (mfCheck608708(area, length) != VL_OK) return VL_OK;
  descriptor.captionFlags |= DFRAME_CAPTION_708;
  descriptor.captionBytes = length;
  return VL_OK;
}

}  // namespace fmp4
