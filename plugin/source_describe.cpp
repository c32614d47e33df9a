// The object's descriptions for the host: defaults, and values derived from the source.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "codecutil.h"
#include "plugin/fmp4_object.h"
#include "plugin/rates.h"
#include "qvrutil.h"

namespace {

constexpr char kStreamName[] = "Fmp4";
constexpr std::uint32_t kDefaultWidth = 720;
constexpr std::uint32_t kDefaultHeight = 480;
constexpr std::uint32_t kBitmapHeaderBytes = 40;
constexpr std::uint32_t kDefaultVideoBuffer = 1296000;

std::uint32_t frameHeight(const QVRVIDEO& video) {
  return static_cast<std::uint32_t>(std::llabs(std::int64_t{video.bitmap.height}));
}

}  // namespace

// The description of a newly constructed object.
void CMFFmp4::resetDescription() {
  m_video = {};
  m_video.fileType = kFileTypeCode;
  m_video.stream.type = QVR_FCC_VIDS;
  m_video.stream.scale = 1001;
  m_video.stream.rate = 30000;
  m_video.stream.suggestedBufferSize = kDefaultVideoBuffer;
  m_video.stream.quality = QVR_NOT_SET;
  m_video.stream.frameRight = kDefaultWidth;
  m_video.stream.frameBottom = kDefaultHeight;
  std::strcpy(m_video.stream.name, kStreamName);
  m_video.bitmap.size = kBitmapHeaderBytes;
  m_video.bitmap.width = kDefaultWidth;
  m_video.bitmap.height = kDefaultHeight;
  m_video.bitmap.planes = 1;
  m_video.bitmap.bitCount = 24;
  m_video.bitmap.sizeImage = kDefaultWidth * kDefaultHeight * 3;

  m_audio = {};
  m_audio.fileType = kFileTypeCode;
  m_audio.stream.type = QVR_FCC_AUDS;
  m_audio.stream.quality = QVR_NOT_SET;
  std::strcpy(m_audio.stream.name, kStreamName);
  m_audio.wave.formatTag = 1;
  m_audio.wave.samplesPerSecond = 48000;
  m_audio.wave.bitsPerSample = 16;

  m_info = {};
  m_info.startTimecode = m_info.startTimecodeLtc = m_info.startTimecodeVitc = QVR_NOT_SET;

  m_system = {};
  m_system.fileType = kFileTypeCode;
  m_system.paddingGranularity = 2048;
  std::strcpy(m_system.name, kStreamName);
  recomputeMainHeader();
}

// Derives the main header from the two stream descriptions.
void CMFFmp4::recomputeMainHeader() {
  const QVRSTREAMHEADER& video = m_video.stream;
  m_system.microSecondsPerFrame =
      static_cast<std::uint32_t>(std::trunc(1000000.0 / (static_cast<double>(video.rate) / video.scale)));
  // Intended (quirk 3): bytes per frame times scale over rate, which is not a byte rate, but hosts expect
  // this value.
  m_system.maximumBytesPerSecond =
      saturate<std::uint32_t>(std::uint64_t{m_video.bitmap.sizeImage} * video.scale / video.rate +
                              m_audio.wave.averageBytesPerSecond);
  m_system.totalFrames = video.length;
  m_system.suggestedBufferSize = m_audio.stream.suggestedBufferSize + video.suggestedBufferSize;
  m_system.width = static_cast<std::uint32_t>(m_video.bitmap.width);
  m_system.height = frameHeight(m_video);
  m_system.scale = video.scale;
  m_system.rate = video.rate;
  m_system.length = video.length;
}

// Snaps the nominal rate. Returns whether there is a rate for addressing frames.
bool CMFFmp4::describeFrameRate() {
  if (!m_nominalRate.known()) return false;
  const FrameRate snapped = SnapFrameRate(m_nominalRate);
  if (!snapped.known()) return false;
  m_video.stream.rate = snapped.numerator;
  m_video.stream.scale = snapped.denominator;
  m_info.timecodeRate = TimecodeRateOf(snapped.numerator);
  return true;
}

// The length of an audio track whose samples state a duration of `stated` PCM frames. A track without stated
// durations gets the length of the video, computed in the same way for all tracks.
std::uint32_t CMFFmp4::soundLength(std::uint64_t stated) const {
  if (stated != 0) return saturate<std::uint32_t>(stated);
  return saturate<std::uint32_t>(scaleExactly(
      m_video.stream.length, std::uint64_t{m_nominalRate.denominator} * m_audio.wave.samplesPerSecond,
      m_nominalRate.numerator));
}

// The number of streams of a kind in this object's own file.
std::uint32_t CMFFmp4::countStreams(std::uint32_t kind) const {
  const auto isOfKind = [kind](const auto& holder) { return holder->kind == kind; };
  return static_cast<std::uint32_t>(std::count_if(m_streams.begin(), m_streams.end(), isOfKind));
}

// Sets the lengths from the index, and all values derived from them.
void CMFFmp4::completeDescription() {
  QVRSTREAMHEADER& video = m_video.stream;
  if (!m_index->empty()) {
    const std::uint64_t frames = m_index->total(kVideoTrack);
    if (frames != 0) video.length = saturate<std::uint32_t>(frames);
    // Video without audio is described with audio of the video's length.
    if (!m_companion) {
      const std::uint64_t ticks = m_index->total(kAudioTrack);
      const std::uint32_t timescale = m_index->track(kAudioTrack).timescale;
      m_audio.stream.length =
          soundLength(ticks ? scaleExactly(ticks, m_audio.wave.samplesPerSecond, timescale) : 0);
    }
    video.suggestedBufferSize = std::max(video.suggestedBufferSize, m_index->largestVideoSample());
  }
  for (const auto& holder : m_streams) {
    if (holder->kind == QVR_KIND_AUDIO) holder->audio.stream.length = m_audio.stream.length;
    if (holder->kind == QVR_KIND_VIDEO) holder->video.stream = video;
  }
  // The index covers the first audio track only.
  for (std::size_t i = 1; i < m_audioTracks.size() && !m_index->empty(); ++i)
    m_audioTracks[i]->setLength(soundLength(m_audioTracks[i]->statedLength(*m_index)));
  const RateScale audioTime = ReduceRate(
      {static_cast<std::int64_t>(std::uint64_t{m_audio.wave.samplesPerSecond} * video.scale), video.rate});
  m_info.audioRate = audioTime.rate;
  m_info.audioScale = audioTime.scale;
  vidGetAspectRatio(&m_video, &m_info.aspectX, &m_info.aspectY);
  if (hasVideo()) m_video.flags = fccGetDrFlagsVideo(&m_video);
  m_info.captions = (m_tracks[kCc608Track].present() ? QVR_CAPTIONS_608 : 0) |
                    (m_tracks[kCc708Track].present() ? QVR_CAPTIONS_708 : 0);
  m_system.streams = countStreams(QVR_KIND_VIDEO) +
                     (m_companion ? m_companion->countStreams(QVR_KIND_AUDIO) : countStreams(QVR_KIND_AUDIO));
  recomputeMainHeader();
}
