// Describes a source to the host, from its tracks and its index.
#include <algorithm>
#include <string>

#include "codecutil.h"
#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "plugin/rates.h"
#include "plugin/source.h"
#include "qvrutil.h"

namespace fmp4 {

namespace {

// What to say of a file without tracks, with the reason if its boxes show one.
std::string noTracks(const Mp4DefectList& defects) {
  std::string text = messages::kNoTracks;
  if (defects.kept().empty()) return text;
  const Mp4BoxDefect& first = defects.kept().front();
  return text + ": at byte " + std::to_string(first.offset) + ' ' + std::string(defectText(first.defect));
}

}  // namespace

// Describes the source from its tracks, and from the manifest where the tracks lack information.
std::uint32_t Source::describeTracks(const Manifest* manifest) {
  if (manifest) {
    if (manifest->width) host_.video.bitmap.width = static_cast<std::int32_t>(*manifest->width);
    if (manifest->height) host_.video.bitmap.height = static_cast<std::int32_t>(*manifest->height);
    if (manifest->audioSamplingRate) host_.audio.wave.samplesPerSecond = *manifest->audioSamplingRate;
  }
  if (const std::uint32_t result = setUpTracks(); result != VL_OK) return result;
  if (!hasVideo() && host_.streams.empty()) return messages::fail(noTracks(file_->defects()).c_str());
  if (!nominalRate_.known() && manifest) nominalRate_ = manifest->frameRate;
  if (!nominalRate_.known() && !hasVideo()) nominalRate_ = kDefaultFrameRate;
  if (!describeFrameRate()) return messages::fail(messages::kNoFrameRate);
  return VL_OK;
}

// Snaps the nominal rate. Returns whether there is a rate for addressing frames.
bool Source::describeFrameRate() {
  if (!nominalRate_.known()) return false;
  const FrameRate snapped = snapFrameRate(nominalRate_);
  if (!snapped.known()) return false;
  host_.video.stream.rate = snapped.numerator;
  host_.video.stream.scale = snapped.denominator;
  host_.info.timecodeRate = timecodeRateOf(snapped.numerator);
  return true;
}

// The length of an audio track whose samples state a duration of `stated` PCM frames. A track without stated
// durations gets the length of the video, computed in the same way for all tracks.
std::uint32_t Source::audioLength(std::uint64_t stated) const {
  if (stated != 0) return saturate<std::uint32_t>(stated);
  return saturate<std::uint32_t>(scaleExactly(
      host_.video.stream.length, std::uint64_t{nominalRate_.denominator} * host_.audio.wave.samplesPerSecond,
      nominalRate_.numerator));
}

void Source::completeDescription() {
  QVRSTREAMHEADER& video = host_.video.stream;
  if (!index_->empty()) {
    const std::uint64_t frames = index_->total(kVideoTrack);
    if (frames != 0) video.length = saturate<std::uint32_t>(frames);
    // Video without audio is described with audio of the video's length.
    if (!companion_) {
      const std::uint64_t ticks = index_->total(kAudioTrack);
      const std::uint32_t timescale = index_->track(kAudioTrack).timescale;
      host_.audio.stream.length =
          audioLength(ticks ? scaleExactly(ticks, host_.audio.wave.samplesPerSecond, timescale) : 0);
    }
    video.suggestedBufferSize = std::max(video.suggestedBufferSize, index_->largestVideoSample());
  }
  for (const auto& holder : host_.streams) {
    if (holder->kind == QVR_KIND_AUDIO) holder->audio.stream.length = host_.audio.stream.length;
    if (holder->kind == QVR_KIND_VIDEO) holder->video.stream = video;
  }
  // The index covers the first audio track only.
  for (std::size_t i = 1; i < audioTracks_.size() && !index_->empty(); ++i)
    audioTracks_[i]->setLength(audioLength(audioTracks_[i]->statedLength(*index_)));
  const RateScale audioTime =
      reduceRate({static_cast<std::int64_t>(std::uint64_t{host_.audio.wave.samplesPerSecond} * video.scale),
                  video.rate});
  host_.info.audioRate = audioTime.rate;
  host_.info.audioScale = audioTime.scale;
  vidGetAspectRatio(&host_.video, &host_.info.aspectX, &host_.info.aspectY);
  if (hasVideo()) host_.video.flags = fccGetDrFlagsVideo(&host_.video);
  host_.info.captions = (tracks_[kCc608Track].present() ? QVR_CAPTIONS_608 : 0) |
                        (tracks_[kCc708Track].present() ? QVR_CAPTIONS_708 : 0);
  host_.system.streams =
      host_.countStreams(QVR_KIND_VIDEO) +
      (companion_ ? companion_->host().countStreams(QVR_KIND_AUDIO) : host_.countStreams(QVR_KIND_AUDIO));
  host_.recomputeMainHeader();
}

}  // namespace fmp4
