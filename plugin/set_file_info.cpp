// Accepts the host's stream descriptions, for a recording or to override those of a source.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/guard.h"
#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "plugin/recorder.h"
#include "plugin/refusals.h"
#include "plugin/status.h"
#include "qvrutil.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kEveryChannel = 0xFFFFFFFFu;
constexpr std::uint32_t kPairedChannels = 0xFFu;

constexpr std::uint32_t kMostAlignment = 16384;  // bytes; for larger alignments buffers are not rounded up

std::uint64_t roundUp(std::uint64_t value, std::uint64_t step) {
  return step == 0 ? value : (value + step - 1) / step * step;
}

}  // namespace

std::uint32_t CMFFmp4::SetFileInfo(std::uint32_t channelMask, const QVRSYSTEM* system, const QVRVIDEO* video,
                                   const QVRAUDIO* audio, const QVRINFO* info) {
  return guarded(VL_FAILED, [&] { return takeDescriptions(channelMask, system, video, audio, info); });
}

std::uint32_t CMFFmp4::takeDescriptions(std::uint32_t channelMask, const QVRSYSTEM* system,
                                        const QVRVIDEO* video, const QVRAUDIO* audio, const QVRINFO* info) {
  // Audio that cannot be recorded leaves the previous description unchanged.
  const char* const noAudio = m_fCreateFile() && audio ? audioRefusal(*audio) : nullptr;
  CAMediaFile::SetFileInfo(channelMask, system, video, noAudio ? nullptr : audio, info);
  if (info) takeInformation(*info);
  std::uint32_t result = VL_FAILED;
  if (system) {
    m_video.stream.length = std::max(m_video.stream.length, system->totalFrames);
    result = VL_OK;
  }
  if (video) {
    result = takeVideo();
    if (result != VL_OK) return result;
  }
  if (noAudio) return messages::fail(noAudio);
  if (audio) takeAudio(channelMask);
  return audio ? VL_OK : result;
}

// The first stream holder for which `wanted(holder)` is true; null if there is none.
template <class Wanted>
QVRSTREAM* CMFFmp4::findHolder(Wanted wanted) const {
  for (const auto& holder : m_streams) {
    if (wanted(*holder)) return holder.get();
  }
  return nullptr;
}

// An unset start timecode is replaced by the longitudinal one, otherwise by the vertical-interval one.
void CMFFmp4::takeInformation(const QVRINFO& info) {
  CAMediaFile::SetFileInfo(kEveryChannel, nullptr, nullptr, nullptr, &info);
  if (m_info.startTimecode == QVR_NOT_SET) {
    m_info.startTimecode =
        m_info.startTimecodeLtc != QVR_NOT_SET ? m_info.startTimecodeLtc : m_info.startTimecodeVitc;
  }
  qvrInfoSet(this, &m_info);
}

std::uint32_t CMFFmp4::takeVideo() {
  QVRSTREAMHEADER& stream = m_video.stream;
  vidNormalizeRateScale(&stream.rate, &stream.scale);
  m_recordingOptions.rate = {stream.rate, stream.scale};
  if (const char* const refusal = m_fCreateFile() ? videoRefusal(m_video) : nullptr)
    return messages::fail(refusal);
  if (stream.length != 0 && m_system.totalFrames == 0) m_system.totalFrames = stream.length;
  takeVideoSizes();
  QVRSTREAM* holder = findHolder([](const QVRSTREAM& stream) { return stream.kind == QVR_KIND_VIDEO; });
  if (!holder) holder = m_AllocAStream();
  if (!holder) {
    ErrOut("Open(0x%lX)", static_cast<unsigned long>(FMP4_E_NO_STREAM_HOLDER));
    return FMP4_E_NO_STREAM_HOLDER;
  }
  stream.length = 0;
  holder->kind = QVR_KIND_VIDEO;
  holder->video = m_video;
  m_videoChannels = 1;
  return VL_OK;
}

void CMFFmp4::takeVideoSizes() {
  QVRBITMAP& bitmap = m_video.bitmap;
  const auto width = static_cast<std::uint32_t>(bitmap.width);
  const auto height = static_cast<std::uint64_t>(std::llabs(std::int64_t{bitmap.height}));
  m_video.rowSize = saturate<std::uint32_t>(std::uint64_t{width} * 4);
  bitmap.sizeImage = saturate<std::uint32_t>(scaleExactly(bitmap.bitCount / 8 * height, width, 1));
  m_video.bufferSize = m_ioAlignment <= kMostAlignment
                           ? saturate<std::uint32_t>(roundUp(bitmap.sizeImage, m_ioAlignment))
                           : bitmap.sizeImage;
}

void CMFFmp4::takeAudio(std::uint32_t channelMask) {
  std::uint32_t wanted = channelMask & ~m_audioMask & kPairedChannels;
  while (wanted != 0) {
    const std::uint32_t pair = findChannel(wanted) / 2;
    if (wanted > m_audioMask) m_audioMask |= wanted;
    wanted &= ~(3u << (2 * pair));
    addAudioHolder(pair);
  }
  if (m_recorder) describeToCompanion();
}

void CMFFmp4::addAudioHolder(std::uint32_t pair) {
  const std::uint32_t channels = 3u << (2 * pair);
  const bool held = findHolder([channels](const QVRSTREAM& stream) {
    return stream.kind == QVR_KIND_AUDIO && (stream.audio.channelMask & channels) != 0;
  });
  if (held) return;
  QVRSTREAM* const holder = m_AllocAStream();
  if (!holder) {
    ErrMsgOut(FMP4_E_NO_STREAM_HOLDER, messages::kOpen, 0, 0);
    return;
  }
  holder->kind = QVR_KIND_AUDIO;
  holder->audio = m_audio;
  holder->audio.channelMask = channels;
  m_fixQVRStruct(&holder->audio);
  // Intended (quirk 6) regardless of the host's request: 24-bit samples in 32-bit containers.
  QVRWAVE& wave = holder->audio.wave;
  wave.channels = 2;
  wave.bitsPerSample = 24;
  wave.samplesPerSecond = 48000;
  wave.blockAlign = 8;
  wave.averageBytesPerSecond = wave.blockAlign * wave.samplesPerSecond;
}

// The audio of a .m4v recording goes into a .m4a file next to it; if that cannot be opened, only the video is
// recorded. The same applies if both would be the same file, or if frames have already been written without
// audio.
void CMFFmp4::describeToCompanion() {
  if (const std::string path = m_recorder->companionPath(); !path.empty())
    m_recorder->join(openAudioFile(path, nullptr));
  if (CMFFmp4* const companion = m_recorder->companion())
    companion->SetFileInfo(m_audioMask, nullptr, nullptr, &m_audio, nullptr);
}

}  // namespace fmp4
