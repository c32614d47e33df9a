// Describes a source to the host, from its tracks and its index.
#include <algorithm>

#include "codecutil.h"
#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "plugin/rates.h"
#include "plugin/source.h"
#include "qvrutil.h"

// Describes the source from its tracks, and from the manifest where the tracks lack information.
std::uint32_t Source::describeTracks(const std::optional<Manifest>& manifest) {
  if (manifest) {
    if (manifest->width) m_host.video.bitmap.width = static_cast<std::int32_t>(*manifest->width);
    if (manifest->height) m_host.video.bitmap.height = static_cast<std::int32_t>(*manifest->height);
    if (manifest->audioSamplingRate) m_host.audio.wave.samplesPerSecond = *manifest->audioSamplingRate;
  }
  if (const std::uint32_t result = setUpTracks(); result != VL_OK) return result;
  if (!hasVideo() && m_host.streams.empty()) {
    messages::reportError(messages::kNoTracks);
    return VL_FAILED;
  }
  if (!m_nominalRate.known() && manifest) m_nominalRate = manifest->frameRate;
  if (!m_nominalRate.known() && !hasVideo()) m_nominalRate = kDefaultFrameRate;
  if (!describeFrameRate()) {
    messages::reportError(messages::kNoFrameRate);
    return VL_FAILED;
  }
  return VL_OK;
}

// Snaps the nominal rate. Returns whether there is a rate for addressing frames.
bool Source::describeFrameRate() {
  if (!m_nominalRate.known()) return false;
  const FrameRate snapped = SnapFrameRate(m_nominalRate);
  if (!snapped.known()) return false;
  m_host.video.stream.rate = snapped.numerator;
  m_host.video.stream.scale = snapped.denominator;
  m_host.info.timecodeRate = TimecodeRateOf(snapped.numerator);
  return true;
}

// The length of an audio track whose samples state a duration of `stated` PCM frames. A track without stated
// durations gets the length of the video, computed in the same way for all tracks.
std::uint32_t Source::audioLength(std::uint64_t stated) const {
  if (stated != 0) return saturate<std::uint32_t>(stated);
  return saturate<std::uint32_t>(
      scaleExactly(m_host.video.stream.length,
                   std::uint64_t{m_nominalRate.denominator} * m_host.audio.wave.samplesPerSecond,
                   m_nominalRate.numerator));
}

void Source::completeDescription() {
  QVRSTREAMHEADER& video = m_host.video.stream;
  if (!m_index->empty()) {
    const std::uint64_t frames = m_index->total(kVideoTrack);
    if (frames != 0) video.length = saturate<std::uint32_t>(frames);
    // Video without audio is described with audio of the video's length.
    if (!m_companion) {
      const std::uint64_t ticks = m_index->total(kAudioTrack);
      const std::uint32_t timescale = m_index->track(kAudioTrack).timescale;
      m_host.audio.stream.length =
          audioLength(ticks ? scaleExactly(ticks, m_host.audio.wave.samplesPerSecond, timescale) : 0);
    }
    video.suggestedBufferSize = std::max(video.suggestedBufferSize, m_index->largestVideoSample());
  }
  for (const auto& holder : m_host.streams) {
    if (holder->kind == QVR_KIND_AUDIO) holder->audio.stream.length = m_host.audio.stream.length;
    if (holder->kind == QVR_KIND_VIDEO) holder->video.stream = video;
  }
  // The index covers the first audio track only.
  for (std::size_t i = 1; i < m_audioTracks.size() && !m_index->empty(); ++i)
    m_audioTracks[i]->setLength(audioLength(m_audioTracks[i]->statedLength(*m_index)));
  const RateScale audioTime =
      ReduceRate({static_cast<std::int64_t>(std::uint64_t{m_host.audio.wave.samplesPerSecond} * video.scale),
                  video.rate});
  m_host.info.audioRate = audioTime.rate;
  m_host.info.audioScale = audioTime.scale;
  vidGetAspectRatio(&m_host.video, &m_host.info.aspectX, &m_host.info.aspectY);
  if (hasVideo()) m_host.video.flags = fccGetDrFlagsVideo(&m_host.video);
  m_host.info.captions = (m_tracks[kCc608Track].present() ? QVR_CAPTIONS_608 : 0) |
                         (m_tracks[kCc708Track].present() ? QVR_CAPTIONS_708 : 0);
  m_host.system.streams =
      m_host.countStreams(QVR_KIND_VIDEO) +
      (m_companion ? m_companion->host().countStreams(QVR_KIND_AUDIO) : m_host.countStreams(QVR_KIND_AUDIO));
  m_host.recomputeMainHeader();
}
