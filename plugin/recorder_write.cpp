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
  if (!m_videoRecording || m_host.videoChannels == 0 || findChannel(channelMask) != 0)
    return refuseChannel(messages::kNoVideoRecord);
  if (!holdsItsBytes(descriptor)) return VL_FAILED;
  if (const std::uint32_t result = startVideoRecording(); result != VL_OK) return result;
  const std::uint32_t result = m_videoRecording->WriteVideo(*descriptor);
  m_host.video.stream.length = saturate<std::uint32_t>(m_videoRecording->frames());
  m_host.currentFrame = frame;
  return result;
}

// Whether the channels are of a later pair that is already coded in the access units of the first pair: a
// host may pass the same access unit for each pair.
bool Recorder::isCodedWithFirstPair(std::uint32_t channelMask) const {
  const std::uint32_t first = findChannel(m_host.audioMask) / 2 * 2, channel = findChannel(channelMask);
  return (channelMask & m_host.audioMask) != 0 && channel >= first + 2 &&
         channel - first < m_host.audio.wave.channels;
}

// A file has one audio track, for the first of the channel pairs.
std::uint32_t Recorder::writeAudio(std::uint32_t channelMask, const DFRAME* descriptor) {
  if (m_host.audioMask != 0 && isCodedWithFirstPair(channelMask)) return VL_OK;
  const bool recorded =
      m_host.audioMask != 0 && findChannel(channelMask) / 2 == findChannel(m_host.audioMask) / 2;
  if (!recorded) return refuseChannel(messages::kNoChannel);
  if (!holdsItsBytes(descriptor)) return VL_FAILED;
  const std::span<const std::uint8_t> bytes(descriptor->data, descriptor->bytes);
  if (m_audioRecording) {
    const std::uint32_t result = startAudioRecording();
    return result == VL_OK ? m_audioRecording->Write(bytes) : result;
  }
  if (!m_videoRecording || m_host.videoChannels == 0) return refuseChannel(messages::kNoChannel);
  if (const std::uint32_t result = startVideoRecording(); result != VL_OK) return result;
  if (m_companion) return m_companion->recorder()->writeAudio(channelMask, descriptor);
  return m_videoRecording->hasAudio() ? m_videoRecording->WriteAudio(bytes)
                                      : refuseChannel(messages::kNoChannel);
}

// The first sample of any kind fixes the recording's format.
std::uint32_t Recorder::startVideoRecording() {
  RecordedFile& file = m_videoRecording->file();
  if (m_videoRecording->started()) return file.failed() ? VL_FAILED : VL_OK;
  // Checked again: a rejected description is kept, and a codec option may have changed an accepted one.
  const char* refusal = VideoRefusal(m_host.video);
  if (!refusal && m_host.audioMask != 0) refusal = AudioRefusal(m_host.audio);
  if (refusal) {
    messages::reportError(refusal);
    return VL_FAILED;
  }
  const VideoSettings settings = videoSettings();
  if (m_companion)
    m_companion->recorder()->m_owner = Owner{settings.geometry, settings.rate, m_manifest.get()};
  return started(file,
                 [&] { return m_videoRecording->Start(settings, m_manifest.get(), m_companion != nullptr); });
}

std::uint32_t Recorder::startAudioRecording() {
  RecordedFile& file = m_audioRecording->file();
  if (m_audioRecording->started()) return file.failed() ? VL_FAILED : VL_OK;
  if (const char* const refusal = AudioRefusal(m_host.audio)) {
    messages::reportError(refusal);
    return VL_FAILED;
  }
  const Owner owner =
      m_owner.value_or(Owner{GeometryOfInterval(m_options.keyFrameInterval), m_options.rate, nullptr});
  return started(file, [&] {
    return m_audioRecording->Start(audioSettings(), owner.geometry, owner.rate, owner.manifest);
  });
}

VideoSettings Recorder::videoSettings() const {
  VideoSettings settings;
  settings.geometry = GeometryOfInterval(m_options.keyFrameInterval);
  settings.rate = m_options.rate;
  settings.width = m_host.video.bitmap.width;
  settings.height = m_host.video.bitmap.height;
  settings.avcRecord = AvcRecordOf(m_host.video).value_or(std::vector<std::uint8_t>());
  settings.captions608 = m_host.info.captions & QVR_CAPTIONS_608;
  settings.captions708 = m_host.info.captions & QVR_CAPTIONS_708;
  if (m_host.audioMask != 0 && !HasSeparateAudio(m_videoPath)) settings.sound = audioSettings();
  return settings;
}

AudioSettings Recorder::audioSettings() const {
  return {m_host.audio.wave.samplesPerSecond, m_host.audio.wave.averageBytesPerSecond,
          SamplesPerFrameOf(m_host.audio), AudioConfigOf(m_host.audio).value_or(std::vector<std::uint8_t>())};
}

// Audio first: the manifest must list its last segment before the video saves it.
bool Recorder::finish() {
  bool whole = true;
  if (m_companion) whole = m_companion->Close() == VL_OK;
  if (m_videoRecording) whole = m_videoRecording->Finish() && whole;
  if (m_audioRecording) whole = m_audioRecording->Finish() && whole;
  return whole;
}
