#include "tool/package/packager.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <utility>

#include "base/audio_units.h"
#include "base/codec_code.h"
#include "base/fourcc.h"
#include "base/text.h"
#include "base/user_error.h"
#include "captions/sei_captions.h"
#include "mp4box/boxes/hdlr.h"
#include "recording/segment_geometry.h"
#include "tool/host/codec_names.h"
#include "tool/host/host_log.h"
#include "tool/package/silent_aac.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kStereo = 3;  // channel mask of the audio
constexpr std::uint32_t kKeyFrameIntervalOption = 8;
constexpr std::uint32_t kMaxCopiedConfiguration = 4;

// Access units by which audio may deviate from the time of its source, and seconds by which source times may
// be rounded.
constexpr double kTolerance = 0.5;
constexpr double kRounding = 0.001;

constexpr double kEndless = std::numeric_limits<double>::infinity();

// `recording`: the name of the recording, of which `what` is a part.
void checkStatus(std::uint32_t status, const std::string& what, const std::string& recording) {
  if (status == VL_OK) return;
  const std::string subject = what + " of '" + recording + "' could not be written";
  const std::error_code reason = lastWriteError();
  if (!reason)
    throw UserError(subject + " (status " + statusText(status) +
                    "); the host's log says why (run without --quiet to see it)");
  throw UserError(subject + ": " + reason.message() + "; " +
                  (reason == std::errc::no_space_on_device ? "make room on the disk, then " : "") +
                  "'fmp4 repair' keeps what has been recorded");
}

SourceTrack& videoOf(SampleSource& source) {
  return *source.trackOfHandler(mp4::kVideoHandler);
}

// Bytes of the lengths before NAL units (ISO/IEC 14496-15, 5.3.3.1).
unsigned lengthBytesOf(const SourceTrack& video) {
  constexpr std::size_t kPlace = 4;
  return video.configuration.size() > kPlace ? (video.configuration[kPlace] & 3u) + 1 : 4;
}

std::optional<UMC::aac::AudioSpecificConfig> configurationOf(const SourceTrack& track) {
  UMC::aac::AudioSpecificConfig config{};
  const bool valid =
      UMC::aac::ParseAudioSpecificConfig(track.configuration.data(), track.configuration.size(), config);
  return valid ? std::optional(config) : std::nullopt;
}

bool isAac(const SourceTrack& track) {
  constexpr std::array<std::uint8_t, 4> kAac = {0x40, 0x66, 0x67, 0x68};  // ISO/IEC 14496-1, 7.2.6.6
  return track.codec == kMp4a && std::find(kAac.begin(), kAac.end(), track.objectType) != kAac.end() &&
         configurationOf(track);
}

}  // namespace

void checkVideo(SampleSource& source) {
  const SourceTrack* const video = source.trackOfHandler(mp4::kVideoHandler);
  if (!video || video->samples.empty())
    throw UserError("'" + source.path() + "' has no video; 'fmp4 boxes' shows what it has");
  if (video->codec != kAvc1)
    throw UserError("'" + source.path() + "' has " + codecName(video->codec) + " video ('" +
                    fourCcText(video->codec) +
                    "'), and recording is H.264 ('avc1'); ffmpeg -c:v libx264 -c:a copy converts it");
  if (video->configuration.empty())
    throw UserError(
        "'" + source.path() +
        "' has H.264 video without its configuration ('avcC'), which a recording needs; ffmpeg -c copy "
        "to another MP4 may add it");
}

Packager::Packager(const Plugin& plugin, SampleSource& source, const PackageOptions& options,
                   const PackagePlan& plan, std::uint64_t frames, Warn warn)
    : source_(source),
      options_(options),
      plan_(plan),
      frameLimit_(frames),
      warn_(std::move(warn)),
      video_(videoOf(source)),
      times_(video_, plan_),
      audio_(findAudio()),
      cc608_(source, findCaptions(kC608)),
      cc708_(source, findCaptions(kC708)),
      videoCaptions_(findVideoCaptions()),
      file_(plugin.create(options.output)) {
  video_.wanted = true;
  video_.next = plan_.first;
  descriptor_.size = sizeof(DFRAME);
  if (video_.edits.severalParts() || (audio_ && audio_->edits.severalParts()))
    warn_(
        "the source's edit list joins several parts; parts of the video that it hides between them are "
        "recorded too");
  describe();
}

// Null when there is no audio to record.
SourceTrack* Packager::findAudio() {
  SourceTrack* const track = source_.trackOfHandler(mp4::kAudioHandler);
  if (!track || options_.noAudio) return nullptr;
  if (track->codec == kMp4a && track->configuration.empty())
    throw UserError("'" + source_.path() +
                    "' has audio without its configuration (AudioSpecificConfig), which a recording needs. "
                    "--no-audio leaves it out, ffmpeg -c:v copy -c:a aac converts it");
  if (!isAac(*track))
    throw UserError("'" + source_.path() + "' has audio of type '" + fourCcText(track->codec) +
                    "', which a recording cannot hold: it takes AAC (mp4a). --no-audio leaves it out, ffmpeg "
                    "-c:v copy -c:a aac converts it");
  audioConfig_ = *configurationOf(*track);
  if (audioConfig_.frameLength != kAacFrameSamples)
    throw UserError("'" + source_.path() +
                    "' has AAC with 960 samples a frame, which a recording cannot time: it counts 1024. "
                    "--no-audio leaves it out, ffmpeg -c:v copy -c:a aac converts it");
  silence_ = silentAccessUnit(track->configuration);
  track->wanted = audioPlays(*track);
  if (track->wanted) return track;
  warn_("no audio plays with the chosen frames; the recording has none");
  return nullptr;
}

// Null when there is no such track, or none is to be recorded.
SourceTrack* Packager::findCaptions(std::uint32_t codec) {
  const bool tracks = options_.captions == CaptionSource::Auto || options_.captions == CaptionSource::Track;
  return tracks ? source_.trackOfCodec(codec) : nullptr;
}

std::optional<VideoCaptions> Packager::findVideoCaptions() {
  const bool automatic = options_.captions == CaptionSource::Auto && !cc608_.present() && !cc708_.present() &&
                         videoHasCaptions();
  if (!automatic && options_.captions != CaptionSource::Sei) return std::nullopt;
  return VideoCaptions(lengthBytesOf(video_), plan_.framesPerSecond());
}

// Whether the first frames to be recorded have captions; encoders put them into every frame, empty ones too.
bool Packager::videoHasCaptions() {
  constexpr std::size_t kFrames = 300;
  const std::size_t end = std::min(video_.samples.size(), plan_.first + kFrames);
  try {
    for (std::size_t i = plan_.first; i < end; ++i)
      if (!captions::constructsInAccessUnit(source_.read(video_, i), lengthBytesOf(video_)).empty())
        return true;
    return false;
  } catch (const UserError&) {
    return false;  // recording comes to the damage too, and says so
  }
}

// Whether any audio known so far will be recorded.
bool Packager::audioPlays(SourceTrack& track) const {
  const double end = times_.firstFrame() + static_cast<double>(frameLimit_) * times_.frameSeconds();
  return std::any_of(track.samples.begin(), track.samples.end(), [&](const SourceSample& sample) {
    const auto time = times_.recorded(track.present(sample));
    return time && *time >= -kTolerance * audioSeconds() && *time < end && !isLeftOut(track, sample);
  });
}

// Whether the edit list hides an access unit for good: not if it is pre-roll of the first one that plays, nor
// if it plays with video that is recorded although it is hidden.
bool Packager::isLeftOut(const SourceTrack& track, const SourceSample& sample) const {
  const std::int64_t begin = sample.presentationTime(), end = begin + sample.duration;
  if (!track.edits.hides(begin, end)) return false;
  if (begin >= track.edits.firstShown()) return true;
  const bool leadsIn = end + sample.duration > track.edits.firstShown();
  return !leadsIn &&
         track.present(sample) >=
             video_.edits.present(video_.edits.empty() ? 0 : video_.edits.firstShown(), video_.timescale);
}

// Duration of an access unit, in seconds.
double Packager::audioSeconds() const {
  return static_cast<double>(kAacFrameSamples) / audioConfig_.frequency;
}

MasterPlaylist Packager::master() const {
  MasterPlaylist master;
  master.codecs =
      codecsText(video_.configuration, audio_ ? audio_->configuration : std::vector<std::uint8_t>());
  master.width = video_.width;
  master.height = video_.height;
  master.framesPerSecond = plan_.framesPerSecond();
  return master;
}

void Packager::describe() {
  file_->SetCodecOption(kVideoChannel, 0, kKeyFrameIntervalOption, plan_.interval, nullptr);
  const auto video = std::make_unique<QVRVIDEO>();
  QVRAUDIO audio = {};
  QVRINFO info = {};
  file_->GetFileInfo(kVideoChannel, nullptr, video.get(), &audio, &info);
  describeVideo(*video);
  if (audio_) describeAudio(audio);
  info.captions = (cc608_.present() || videoCaptions_ ? QVR_CAPTIONS_608 : 0) |
                  (cc708_.present() || videoCaptions_ ? QVR_CAPTIONS_708 : 0);
  checkStatus(file_->SetFileInfo(audio_ ? kStereo : kVideoChannel, nullptr, video.get(),
                                 audio_ ? &audio : nullptr, &info),
              "the description", options_.output);
}

void Packager::describeVideo(QVRVIDEO& video) const {
  video.bitmap.width = static_cast<std::int32_t>(video_.width);
  video.bitmap.height = static_cast<std::int32_t>(video_.height);
  video.bitmap.compression = video.stream.handler = Mp4FourCc("1cva");
  video.stream.rate = plan_.rate;
  video.stream.scale = plan_.scale;
  const auto& record = video_.configuration;
  const std::size_t size = 8 + record.size();
  if (size > sizeof video.colourTable) throw UserError("the source's codec configuration is too long");
  video.bitmap.size = static_cast<std::uint32_t>(sizeof(QVRBITMAP) + size);
  for (unsigned i = 0; i < 4; ++i) {
    video.colourTable[i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
    video.colourTable[4 + i] = static_cast<std::uint8_t>("avcC"[i]);
  }
  std::copy(record.begin(), record.end(), video.colourTable + 8);
}

void Packager::describeAudio(QVRAUDIO& audio) const {
  audio.codec = audio.stream.handler = kMp4a;
  audio.wave.samplesPerSecond = audioConfig_.frequency;
  audio.wave.channels = static_cast<std::uint16_t>(audio_->channels);
  std::uint64_t bytes = 0;
  for (const SourceSample sample : audio_->samples) bytes += sample.size;
  const double perSecond =
      static_cast<double>(bytes) / (static_cast<double>(audio_->samples.size()) * audioSeconds());
  audio.wave.averageBytesPerSecond = static_cast<std::uint32_t>(std::min(perSecond, 4294967295.0));
  // Longer configurations are not stored; their first two bytes describe the core.
  const auto& config = audio_->configuration;
  audio.wave.extraSize =
      static_cast<std::uint16_t>(config.size() <= kMaxCopiedConfiguration ? config.size() : 2);
  std::copy_n(config.begin(), audio.wave.extraSize, audio.wave.extra);
}

void Packager::run(const std::function<void(std::uint64_t)>& show, const std::function<bool()>& ended) {
  bool complete = true;
  do {
    for (; video_.next < video_.samples.size() && frames_ < frameLimit_ && !ended(); ++video_.next) {
      times_.add(video_.samples[video_.next]);
      // Audio is written before the frame that it plays with.
      writeAudioUpTo(static_cast<double>(frames_ + 1) * times_.frameSeconds(), true);
      writeFrame(video_.next);
      show(++frames_);
    }
    complete = video_.next == video_.samples.size();
  } while (frames_ < frameLimit_ && !ended() && source_.more());
  writeAudioUpTo(times_.end(), true);
  // Audio outside the video is recorded only when all of the video was requested.
  if (complete) writeAudioUpTo(kEndless, false);
  reportWhatWasLeftOut();
}

void Packager::finish() {
  MFXCLOSE request = {};
  checkStatus(file_->MFXCmd(MFX_CLOSE, &request), "the end", options_.output);
}

void Packager::writeFrame(std::size_t index) {
  const SourceSample sample = video_.samples[index];
  const auto bytes = source_.read(video_, index);
  descriptor_.data = bytes.data();
  descriptor_.bytes = static_cast<std::uint32_t>(bytes.size());
  descriptor_.flags = sample.key ? DFRAME_KEY : DFRAME_NOT_KEY;
  descriptor_.compositionOffset = plan_.compositionOffset(sample);
  descriptor_.captionFlags = descriptor_.captionBytes = 0;
  if (videoCaptions_) {
    videoCaptions_->add(bytes, frames_, plan_.compositionOffset(sample));
    videoCaptions_->addTo(descriptor_, frames_);
  }
  addCaptions(frames_);
  checkStatus(file_->Write(static_cast<std::uint32_t>(frames_), 1, kVideoChannel, QVR_MODE_VIDEO,
                           &descriptor_, nullptr),
              "frame " + std::to_string(frames_), options_.output);
}

void Packager::addCaptions(std::uint64_t frame) {
  const auto frameOf = [this](double seconds) { return times_.frameOf(seconds); };
  cc608_.addTo(descriptor_, static_cast<std::int64_t>(frame), frameOf);
  cc708_.addTo(descriptor_, static_cast<std::int64_t>(frame), frameOf);
}

// Writes the audio of the recording that starts before `end`, in seconds. `fill`: gaps become silence;
// otherwise a gap ends the audio.
void Packager::writeAudioUpTo(double end, bool fill) {
  if (!audio_) return;
  for (; audio_->next < audio_->samples.size();) {
    const SourceSample sample = audio_->samples[audio_->next];
    const auto time = isLeftOut(*audio_, sample) ? std::nullopt : times_.recorded(audio_->present(sample));
    const double position = static_cast<double>(accessUnits_) * audioSeconds();
    const double late = time ? *time - audioOffset_ - position : 0;
    const double most = kTolerance * audioSeconds() + (followsSource_ ? kRounding : 0);
    if (!time || late < -most) {
      if (time && accessUnits_ == 0) leadingAudio_ = std::max(leadingAudio_, -late);
      if (time && accessUnits_ != 0) ++overlaps_;
      ++audio_->next;
      continue;
    }
    if (position >= end) return;
    if (late > most && !fill) return;
    followsSource_ = late <= most || !silence_;
    if (!followsSource_) {
      writeAccessUnit(*silence_);
      continue;
    }
    if (late > most) audioOffset_ += late;
    writeAccessUnit(source_.read(*audio_, audio_->next++));
  }
}

void Packager::writeAccessUnit(std::span<std::uint8_t> bytes) {
  descriptor_.data = bytes.data();
  descriptor_.bytes = static_cast<std::uint32_t>(bytes.size());
  checkStatus(file_->Write(static_cast<std::uint32_t>(accessUnits_), 1, kStereo, QVR_MODE_AUDIO, &descriptor_,
                           nullptr),
              "audio access unit " + std::to_string(accessUnits_), options_.output);
  ++accessUnits_;
}

void Packager::reportWhatWasLeftOut() const {
  // Nothing is lost with an encoder's priming.
  constexpr double kPriming = 0.2;
  const auto seconds = [](double value) {
    return std::to_string(static_cast<std::uint64_t>(std::llround(value * 1000))) + " ms";
  };
  if (plan_.first == 0 && leadingAudio_ > kPriming)
    warn_("the source's audio begins " + seconds(leadingAudio_) + " before its video; that part is left out");
  if (audioOffset_ > 0)
    warn_("gaps in audio of this configuration cannot be filled with silence; it comes up to " +
          seconds(audioOffset_) + " early");
  if (videoCaptions_ && !videoCaptions_->found())
    warn_("the source's video has no captions; the recording's caption tracks are empty");
  if (overlaps_ != 0)
    warn_(std::to_string(overlaps_) + " access units of the source's audio overlap others and are left out");
}

}  // namespace fmp4
