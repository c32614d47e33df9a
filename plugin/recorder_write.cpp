// Writes one video frame or one audio access unit.
#include "base/guard.h"
#include "plugin/codec_data.h"
#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
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

std::uint32_t CMFFmp4::Write(std::uint32_t frame, std::uint32_t /*count*/, std::uint32_t channelMask,
                             std::uint32_t mode, DFRAME* descriptor, void* /*extra*/) {
  switch (mode & 0xFF) {
    case QVR_MODE_VIDEO:
      return guarded(VL_FAILED, [&] { return writeVideo(frame, channelMask, descriptor); });
    case QVR_MODE_AUDIO:
      return guarded(VL_FAILED, [&] { return writeAudio(channelMask, descriptor); });
    default:
      return VL_OK;
  }
}

std::uint32_t CMFFmp4::writeVideo(std::uint32_t frame, std::uint32_t channelMask, const DFRAME* descriptor) {
  if (!m_videoRecording || m_videoChannels == 0 || findChannel(channelMask) != 0)
    return refuseChannel(messages::kNoVideoRecord);
  if (!holdsItsBytes(descriptor)) return VL_FAILED;
  if (const std::uint32_t result = startVideoRecording(); result != VL_OK) return result;
  const std::uint32_t result = m_videoRecording->WriteVideo(*descriptor);
  m_video.stream.length = saturate<std::uint32_t>(m_videoRecording->frames());
  m_currentFrame = frame;
  return result;
}

// Whether the channels are of a later pair that is already coded in the access units of the first pair: a
// host may pass the same access unit for each pair.
bool CMFFmp4::isCodedWithFirstPair(std::uint32_t channelMask) const {
  const std::uint32_t first = findChannel(m_audioMask) / 2 * 2, channel = findChannel(channelMask);
  return (channelMask & m_audioMask) != 0 && channel >= first + 2 && channel - first < m_audio.wave.channels;
}

// A file has one audio track, for the first of the channel pairs.
std::uint32_t CMFFmp4::writeAudio(std::uint32_t channelMask, const DFRAME* descriptor) {
  if (m_audioMask != 0 && isCodedWithFirstPair(channelMask)) return VL_OK;
  const bool recorded = m_audioMask != 0 && findChannel(channelMask) / 2 == findChannel(m_audioMask) / 2;
  if (!recorded) return refuseChannel(messages::kNoChannel);
  if (!holdsItsBytes(descriptor)) return VL_FAILED;
  const std::span<const std::uint8_t> bytes(descriptor->data, descriptor->bytes);
  if (m_audioRecording) {
    const std::uint32_t result = startAudioRecording();
    return result == VL_OK ? m_audioRecording->Write(bytes) : result;
  }
  if (!m_videoRecording || m_videoChannels == 0) return refuseChannel(messages::kNoChannel);
  if (const std::uint32_t result = startVideoRecording(); result != VL_OK) return result;
  if (m_companion) return m_companion->writeAudio(channelMask, descriptor);
  return m_videoRecording->hasAudio() ? m_videoRecording->WriteAudio(bytes)
                                      : refuseChannel(messages::kNoChannel);
}

// The first sample of any kind fixes the recording's format.
std::uint32_t CMFFmp4::startVideoRecording() {
  RecordedFile& file = m_videoRecording->file();
  if (m_videoRecording->started()) return file.failed() ? VL_FAILED : VL_OK;
  // Checked again: a rejected description is kept, and a codec option may have changed an accepted one.
  const char* refusal = videoRefusal();
  if (!refusal && m_audioMask != 0) refusal = audioRefusal(m_audio);
  if (refusal) {
    messages::reportError(refusal);
    return VL_FAILED;
  }
  const VideoSettings settings = videoSettings();
  if (m_companion) {
    m_companion->m_ownersGeometry = settings.geometry;
    m_companion->m_nominalRate = settings.rate;
    m_companion->m_ownersManifest = m_manifest.get();
  }
  return started(file,
                 [&] { return m_videoRecording->Start(settings, m_manifest.get(), m_companion != nullptr); });
}

std::uint32_t CMFFmp4::startAudioRecording() {
  RecordedFile& file = m_audioRecording->file();
  if (m_audioRecording->started()) return file.failed() ? VL_FAILED : VL_OK;
  if (const char* const refusal = audioRefusal(m_audio)) {
    messages::reportError(refusal);
    return VL_FAILED;
  }
  const SegmentGeometry geometry = m_ownersGeometry.value_or(GeometryOfInterval(m_keyFrameInterval));
  return started(file, [&] {
    return m_audioRecording->Start(audioSettings(), geometry, m_nominalRate, m_ownersManifest);
  });
}

VideoSettings CMFFmp4::videoSettings() const {
  VideoSettings settings;
  settings.geometry = GeometryOfInterval(m_keyFrameInterval);
  settings.rate = m_nominalRate;
  settings.width = m_video.bitmap.width;
  settings.height = m_video.bitmap.height;
  settings.avcRecord = AvcRecordOf(m_video).value_or(std::vector<std::uint8_t>());
  settings.captions608 = m_info.captions & QVR_CAPTIONS_608;
  settings.captions708 = m_info.captions & QVR_CAPTIONS_708;
  if (m_audioMask != 0 && !HasSeparateAudio(m_videoPath)) settings.sound = audioSettings();
  return settings;
}

AudioSettings CMFFmp4::audioSettings() const {
  return {m_audio.wave.samplesPerSecond, m_audio.wave.averageBytesPerSecond, SamplesPerFrameOf(m_audio),
          AudioConfigOf(m_audio).value_or(std::vector<std::uint8_t>())};
}
