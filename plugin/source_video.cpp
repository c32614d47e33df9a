// Reads one video frame with its captions.
#include "plugin/messages.h"
#include "plugin/source.h"
#include "plugin/status.h"
#include "qvrutil.h"
#include "streaming/index/seek.h"
#include "tcxlat.h"

namespace fmp4 {

namespace {

// The descriptor flags kept by a header-only request, and by any request for a sample.
constexpr std::uint32_t kHeaderOnlyKept = 0x4FFFFFFFu;
constexpr std::uint32_t kSampleKept = 0x4BFFFFFFu;

// Composition offsets are reported in whole frames of 1000 ticks.
constexpr std::int64_t kCompositionUnit = 1000;

}  // namespace

std::uint32_t Source::readVideo(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                                std::uint32_t mode, DFRAME* descriptor) {
  const bool hasRecord = hasVideo() && findChannel(channelMask) == 0;
  // The actual length; the described length may have been set by the host.
  const std::uint64_t total = hasRecord ? index_->total(kVideoTrack) : 0;
  if (!descriptor) return frame < total ? index_->largestVideoSample() : 0;
  if (!hasRecord) return VL_FAILED;
  descriptor->frame = frame;
  setTimecodes(*descriptor, frame);
  if (frame >= total) {
    descriptor->bytes = 0;
    videoNextExpected_ = frame + 1;
    return FMP4_E_PAST_END;
  }
  descriptor->flags &= ~DFRAME_REPEATED;
  // Checks the cursor too: a request for several frames leaves it past the expected next frame.
  const bool inPlace = videoCursor_.loaded() && videoCursor_.position == frame;
  const bool jumped = frame != videoNextExpected_ || !inPlace;
  if (jumped) {
    videoNextExpected_ = frame;
    if (!SeekVideoFrame(*index_, frame, videoCursor_).ok()) return VL_FAILED;
  }
  if (const std::uint32_t result = seekCaptions(frame, jumped); result != VL_OK) return result;
  if (videoCursor_.advance(*index_) != Advance::Ready) return messages::fail(messages::kNoVideoChunkForFrame);
  if (mode & QVR_MODE_HEADER_ONLY) return describeSample(*descriptor);
  if (const std::uint32_t result = deliverSample(*descriptor); result != VL_OK) return result;
  if (const std::uint32_t result = deliverCc608(*descriptor, frame); result != VL_OK) return result;
  if (const std::uint32_t result = deliverCc708(*descriptor); result != VL_OK) return result;
  videoNextExpected_ = frame + count;
  host_.currentFrame = frame;
  return VL_OK;
}

// Timecodes continue from the file's start timecodes.
void Source::setTimecodes(DFRAME& descriptor, std::uint32_t frame) const {
  descriptor.timecode = TCXlat(host_.info.startTimecode, frame, host_.info.timecodeRate);
  const bool untranslated = descriptor.timecode == frame;
  const bool startSet = host_.info.startTimecode != QVR_NOT_SET || host_.info.startTimecodeLtc != QVR_NOT_SET;
  descriptor.timecodeOther = untranslated && startSet
                                 ? TCXlat(host_.info.startTimecodeLtc, frame, host_.info.timecodeRate)
                                 : descriptor.timecode;
}

// Handles a header-only request without moving the cursor.
std::uint32_t Source::describeSample(DFRAME& descriptor) {
  if (descriptor.size != sizeof(DFRAME)) return FMP4_E_BAD_DESCRIPTOR_SIZE;
  TrackCursor& cursor = videoCursor_;
  descriptor.flags &= kHeaderOnlyKept;
  descriptor.sampleSize = cursor.sampleSize();
  descriptor.firstByte = 0;
  if (descriptor.sampleSize != 0 &&
      !cursor.readAt(*index_, cursor.sampleOffset(), 1, &descriptor.firstByte).ok()) {
    cursor.clear();
    return messages::fail(messages::kNoVideoChunkForFrame);
  }
  descriptor.flags = (descriptor.flags & kSampleKept) | SampleKeyFlag(cursor.sampleFlags());
  return VL_OK;
}

// Delivers the cursor's sample unchanged and advances to the next one.
std::uint32_t Source::deliverSample(DFRAME& descriptor) {
  TrackCursor& cursor = videoCursor_;
  const std::uint32_t size = cursor.sampleSize();
  descriptor.bytes = size;
  if (descriptor.data && descriptor.dataCapacity != 0 && size > descriptor.dataCapacity)
    return messages::fail(messages::kBufferTooSmall);
  if (descriptor.data && !cursor.read(*index_, descriptor.data).ok()) {
    descriptor.bytes = 0;
    cursor.clear();
    return messages::fail(messages::kNoVideoChunkForFrame);
  }
  const mp4::TrackRunBox& run = cursor.run();
  if (run.hasCompositionOffset()) {
    descriptor.compositionOffset =
        static_cast<std::int32_t>(run.compositionOffset(cursor.sampleIndex()) / kCompositionUnit);
  }
  descriptor.flags = (descriptor.flags & kSampleKept) | SampleKeyFlag(cursor.sampleFlags());
  cursor.next();
  ++cursor.position;
  descriptor.reserved = 0;
  descriptor.captionFlags &= ~DFRAME_CAPTION_MASK;
  descriptor.captionBytes = 0;
  return VL_OK;
}

}  // namespace fmp4
