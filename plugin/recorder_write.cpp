// Writes one video frame or one audio access unit, and ends a recording.
#include "base/guard.h"
#include "plugin/codec_data.h"
#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "plugin/recorder.h"
#include "plugin/refusals.h"
#include "plugin/status.h"
#include "qvrutil.h"
#include "recording/paths.h"

namespace fmp4 {

namespace {

std::uint32_t refuseChannel(const char* record) {
  ErrMsgOut(FMP4_E_NO_SUCH_CHANNEL, record, 0, 0);
  return VL_FAILED;
}

bool holdsItsBytes(const DFRAME* descriptor) {
  return descriptor && (descriptor->data || descriptor->bytes == 0);
}

// Starts a recording. If memory runs out, its movie box is incomplete, and nothing may follow it.
template <class Start>
std::uint32_t started(RecordedFile& file, Start start) {
  if (guarded(false, start)) return VL_OK;
  file.giveUp();
  return VL_FAILED;
}

}  // namespace

std::uint32_t Recorder::writeVideo(std::uint32_t frame, std::uint32_t channelMask, const DFRAME* descriptor) {
  if (!videoRecording_ || host_.videoChannels == 0 || findChannel(channelMask) != 0)
    return refuseChannel(messages::kNoVideoRecord);
  if (!holdsItsBytes(descriptor)) return VL_FAILED;
  if (const std::uint32_t result = startVideoRecording(); result != VL_OK) return result;
  const std::uint32_t result = videoRecording_->writeVideo(*descriptor);
  host_.video.stream.length = saturate<std::uint32_t>(videoRecording_->frames());
  host_.currentFrame = frame;
  return result;
}

// Whether the channels are of a later pair that is already coded in the access units of the first pair: a
// host may pass the same access unit for each pair.
bool Recorder::isCodedWithFirstPair(std::uint32_t channelMask) const {
  const std::uint32_t first = findChannel(host_.audioMask) / 2 * 2, channel = findChannel(channelMask);
  return (channelMask & host_.audioMask) != 0 && channel >= first + 2 &&
         channel - first < host_.audio.wave.channels;
}

// A file has one audio track, for the first of the channel pairs.
std::uint32_t Recorder::writeAudio(std::uint32_t channelMask, const DFRAME* descriptor) {
  if (host_.audioMask != 0 && isCodedWithFirstPair(channelMask)) return VL_OK;
  const bool recorded =
      host_.audioMask != 0 && findChannel(channelMask) / 2 == findChannel(host_.audioMask) / 2;
  if (!recorded) return refuseChannel(messages::kNoChannel);
  if (!holdsItsBytes(descriptor)) return VL_FAILED;
  const std::span<const std::uint8_t> bytes(descriptor->data, descriptor->bytes);
  if (audioRecording_) {
    const std::uint32_t result = startAudioRecording();
    return result == VL_OK ? audioRecording_->write(bytes) : result;
  }
  if (!videoRecording_ || host_.videoChannels == 0) return refuseChannel(messages::kNoChannel);
  if (const std::uint32_t result = startVideoRecording(); result != VL_OK) return result;
  if (companion_) return companion_->recorder()->writeAudio(channelMask, descriptor);
  return videoRecording_->hasAudio() ? videoRecording_->writeAudio(bytes)
                                     : refuseChannel(messages::kNoChannel);
}

// The first sample of any kind fixes the recording's format.
std::uint32_t Recorder::startVideoRecording() {
  RecordedFile& file = videoRecording_->file();
  if (videoRecording_->started()) return file.failed() ? VL_FAILED : VL_OK;
  // Checked again: a rejected description is kept, and a codec option may have changed an accepted one.
  const char* refusal = videoRefusal(host_.video);
  if (!refusal && host_.audioMask != 0) refusal = audioRefusal(host_.audio);
  if (refusal) return messages::fail(refusal);
  const VideoSettings settings = videoSettings();
  if (companion_) companion_->recorder()->owner_ = Owner{settings.geometry, settings.rate, manifest_.get()};
  return started(file,
                 [&] { return videoRecording_->start(settings, manifest_.get(), companion_ != nullptr); });
}

std::uint32_t Recorder::startAudioRecording() {
  RecordedFile& file = audioRecording_->file();
  if (audioRecording_->started()) return file.failed() ? VL_FAILED : VL_OK;
  if (const char* const refusal = audioRefusal(host_.audio)) return messages::fail(refusal);
  const Owner owner =
      owner_.value_or(Owner{geometryOfInterval(options_.keyFrameInterval), options_.rate, nullptr});
  return started(file, [&] {
    return audioRecording_->start(audioSettings(), owner.geometry, owner.rate, owner.manifest);
  });
}

VideoSettings Recorder::videoSettings() const {
  VideoSettings settings;
  settings.geometry = geometryOfInterval(options_.keyFrameInterval);
  settings.rate = options_.rate;
  settings.width = host_.video.bitmap.width;
  settings.height = host_.video.bitmap.height;
  settings.avcRecord = avcRecordOf(host_.video).value_or(std::vector<std::uint8_t>());
  settings.captions608 = host_.info.captions & QVR_CAPTIONS_608;
  settings.captions708 = host_.info.captions & QVR_CAPTIONS_708;
  if (host_.audioMask != 0 && !hasSeparateAudio(videoPath_)) settings.audio = audioSettings();
  return settings;
}

AudioSettings Recorder::audioSettings() const {
  return {host_.audio.wave.samplesPerSecond, host_.audio.wave.averageBytesPerSecond,
          samplesPerFrameOf(host_.audio), audioConfigOf(host_.audio).value_or(std::vector<std::uint8_t>())};
}

// Audio first: the manifest must list its last segment before the video saves it.
bool Recorder::finish() {
  bool complete = true;
  if (companion_) complete = companion_->Close() == VL_OK;
  if (videoRecording_) complete = videoRecording_->finish() && complete;
  if (audioRecording_) complete = audioRecording_->finish() && complete;
  return complete;
}

}  // namespace fmp4
