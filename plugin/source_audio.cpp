// Reads a range of audio as PCM.
#include <algorithm>
#include <cstring>

#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "plugin/source.h"
#include "plugin/status.h"
#include "qvrutil.h"

namespace fmp4 {

namespace {

// The host counts requests in stereo PCM frames of 16 or 32 bits per sample, regardless of the track's
// format.
constexpr std::uint64_t kBytes16BitStereo = 4;
constexpr std::uint64_t kBytes32BitStereo = 8;

// Bytes of a request as counted by the host. `host` is the format described to it first.
std::uint64_t requestedBytes(const QVRWAVE& host, const QVRWAVE& track, std::uint32_t count) {
  if (host.bitsPerSample == 16) return count * kBytes16BitStereo;
  if (track.bitsPerSample == 16) return std::uint64_t{count} * track.blockAlign;
  return count * kBytes32BitStereo;
}

// The status of a read. Reports why it failed.
std::uint32_t statusOf(AudioTrack::Outcome outcome) {
  switch (outcome) {
    case AudioTrack::Outcome::Unread:
      return messages::fail(messages::kNotReadToItsEnd);
    case AudioTrack::Outcome::NoRun:
      return messages::fail(messages::kNoVideoChunkForFrame);
    case AudioTrack::Outcome::NoFragment:
    case AudioTrack::Outcome::End:
      return messages::fail(messages::kNoAudioChunkForFrame);
    case AudioTrack::Outcome::Refused:
      return FMP4_E_DURATION;
    case AudioTrack::Outcome::Undecodable:
      return VL_FAILED;
    case AudioTrack::Outcome::Delivered:
      break;
  }
  return VL_OK;
}

}  // namespace

// The track that contains a channel; null if there is none.
AudioTrack* Source::audioTrackOf(std::uint32_t channel) {
  if (channel == QVR_NO_CHANNEL) return nullptr;
  for (const auto& track : audioTracks_) {
    if (track->description().channelMask & 1u << channel) return track.get();
  }
  return nullptr;
}

std::uint32_t Source::refuseAudio(DFRAME* descriptor) {
  if (descriptor) descriptor->bytes = descriptor->lostUnits = 0;
  messages::reportRead(FMP4_E_NO_AUDIO);
  return FMP4_E_NO_AUDIO;
}

std::uint32_t Source::readAudio(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                                std::uint32_t mode, DFRAME* descriptor, void* extra) {
  if (companion_) return companion_->Read(frame, count, channelMask, mode, descriptor, extra);
  AudioTrack* track = audioTrackOf(findChannel(channelMask));
  if (!track || (openFlags_ & MF_OPEN_NO_AUDIO)) return refuseAudio(descriptor);
  if (descriptor) descriptor->bytes = descriptor->lostUnits = 0;
  const QVRAUDIO& audio = track->description();
  if (frame == QVR_NOT_SET) frame = track->nextExpected == QVR_NOT_SET ? 0 : track->nextExpected;
  if (frame > audio.stream.length) return VL_FAILED;
  const bool leads = fccIsCompressedAudio(audio.codec) && frame < audio.stream.initialFrames;
  const std::uint32_t bufferBytes =
      track->deliveredBufferSize({host_.video.stream.rate, host_.video.stream.scale});
  if (!descriptor) return leads ? host_.audio.wave.blockAlign * 2u : bufferBytes;

  if (track->undecodable()) return VL_FAILED;
  if (frame == audio.stream.length && count != 0) {
    messages::reportSeekFailure();
    return VL_FAILED;
  }
  const std::uint32_t frameSize = track->decoder().FrameSize();
  const bool decodes = track->decoder().IsOpen() && frameSize != 0 && descriptor->data;
  if (!decodes) {
    if (fccIsCompressedAudio(audio.codec)) messages::reportShort(0, count);
    track->nextExpected = frame + count;
    return VL_OK;
  }
  const std::uint64_t wanted = std::min<std::uint64_t>(count, audio.stream.length - frame);
  // Without a stated capacity the host sized its buffer by its own count or by the size reported to it.
  const std::uint64_t space =
      descriptor->dataCapacity != 0
          ? descriptor->dataCapacity
          : std::max<std::uint64_t>(requestedBytes(host_.audio.wave, audio.wave, count), bufferBytes);
  if (wanted * frameSize > std::min<std::uint64_t>(space, 0xFFFFFFFFu))
    return messages::fail(messages::kBufferTooSmall);
  return deliverAudio(*track, frame, count, wanted, *descriptor);
}

std::uint32_t Source::deliverAudio(AudioTrack& track, std::uint32_t frame, std::uint32_t count,
                                   std::uint64_t wanted, DFRAME& descriptor) {
  const QVRAUDIO& audio = track.description();
  const std::uint32_t frameSize = track.decoder().FrameSize();
  // The leading silence given in the description is not part of the track.
  std::uint64_t position = frame;
  if (position < audio.stream.initialFrames) {
    const std::uint64_t silent = std::min<std::uint64_t>(audio.stream.initialFrames - position, wanted);
    std::memset(descriptor.data, 0, silent * frameSize);
    descriptor.bytes = static_cast<std::uint32_t>(silent * frameSize);
    position += silent;
    wanted -= silent;
    if (wanted == 0) {
      track.nextExpected = frame + count;
      return VL_OK;
    }
  }
  if (!track.isAt(position)) {
    track.nextExpected = frame;
    if (!track.seek(*index_, position).ok()) {
      messages::reportSeekFailure();
      return VL_FAILED;
    }
  }
  AudioTrack::Delivery delivery;
  const AudioTrack::Outcome outcome =
      track.read(*index_, position, wanted, descriptor.data + descriptor.bytes, delivery);
  if (outcome == AudioTrack::Outcome::Refused) descriptor.bytes = 0;
  if (const std::uint32_t result = statusOf(outcome); result != VL_OK) return result;
  descriptor.bytes += delivery.bytes;
  descriptor.lostUnits = delivery.lostUnits;
  const std::uint64_t requested = requestedBytes(host_.audio.wave, audio.wave, count);
  if (descriptor.bytes != requested) messages::reportShort(descriptor.bytes / frameSize, count);
  track.nextExpected = frame + count;
  return VL_OK;
}

}  // namespace fmp4
