// Reads the captions of a frame.
#include <algorithm>
#include <array>

#include "base/bytes.h"
#include "plugin/messages.h"
#include "plugin/source.h"
#include "recording/caption_area.h"
#include "streaming/index/seek.h"

namespace {

using namespace caption_area;

constexpr std::size_t kLengthPlace = 6;
constexpr std::size_t kLengthSource = 9;

}  // namespace

// Seeks the caption readers to a frame that does not follow the previous one, or after they have lost their
// position.
void Source::seekCaptions(std::uint32_t frame, bool jumped) {
  if (m_tracks[kCc608Track].present() && (jumped || !m_cc608.cursor.loaded())) seekCc608(frame);
  if (m_tracks[kCc708Track].present()) {
    const bool inPlace = m_cc708Cursor.loaded() && m_cc708Cursor.position == frame;
    if (!inPlace) SeekCc708Frame(*m_index, frame, true, m_cc708Cursor);
  }
}

void Source::seekCc608(std::uint32_t frame) {
  m_cc608SeekFrame = frame;
  if (SeekCc608Frame(*m_index, frame, m_cc608) < 0) m_cc608.forget();
}

// Delivers the byte pair of the frame. If none is pending for it, the frame may be in the next sample; an
// unknown position is sought again, so that captions resume after a damaged section.
void Source::deliverCc608(DFRAME& descriptor, std::uint32_t frame) {
  if (!m_tracks[kCc608Track].present()) return;
  const bool waiting = m_cc608.hasPair() && m_cc608.ccFrame == frame;
  const bool due = m_cc608.ccFrame == Cc608Reader::kNoFrame || frame >= m_cc608.ccFrame;
  if (due && !waiting && m_cc608SeekFrame != frame) seekCc608(frame);
  if (!m_cc608.hasPair() || m_cc608.ccFrame != frame) return;
  descriptor.captionFlags |= DFRAME_CAPTION_608;
  descriptor.captionBytes = 2;
  std::copy_n(m_cc608.pair(), 2, descriptor.captions);
  m_cc608.dropPair();
}

// Delivers the caption packet of the frame.
std::uint32_t Source::deliverCc708(DFRAME& descriptor) {
  if (!m_tracks[kCc708Track].present() || !m_cc708Cursor.loaded()) return VL_OK;
  switch (AdvanceRun(*m_index, true, m_cc708Cursor)) {
    case Advance::NoRun:
      messages::reportError(messages::kNoVideoChunkForFrame);
      return VL_FAILED;
    case Advance::NoFragment:
      messages::reportError(messages::kNo708ChunkForFrame);
      return VL_OK;
    case Advance::Ready:
      break;
  }
  takeCc708Sample(descriptor);
  m_cc708Cursor.nextSample();
  ++m_cc708Cursor.position;
  return VL_OK;
}

// Copies the packet from its "ccdp" box. A sample without a packet, or with one that exceeds the caption
// area, adds nothing.
void Source::takeCc708Sample(DFRAME& descriptor) {
  constexpr std::size_t kRoom = sizeof descriptor.captions - kDistributionStart;
  std::array<std::uint8_t, kBoxHeader + kRoom> sample;
  const std::size_t held = std::min<std::size_t>(m_cc708Cursor.sampleSize(), sample.size());
  const std::uint64_t offset = addSaturated(m_cc708Cursor.runOffset(), m_cc708Cursor.sampleOffset);
  if (held <= kBoxHeader || ReadThroughWindow(*m_index, m_cc708Cursor, offset, held, sample.data()) < 0)
    return;
  const std::uint32_t boxSize = Mp4LoadU32(sample.data());
  if (boxSize <= kBoxHeader || boxSize > held || Mp4LoadU32(sample.data() + 4) != kPacketBox) return;
  const std::uint8_t* payload = sample.data() + kBoxHeader;
  const std::size_t payloadBytes = boxSize - kBoxHeader;

  std::uint8_t* area = descriptor.captions;
  std::fill(area + kPacketStart, area + kLengthSource + 1, std::uint8_t{0});
  const bool distribution = payloadBytes >= 2 && payload[0] == 0x96 && payload[1] == 0x69;
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
