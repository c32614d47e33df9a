#include "recording/write/video_recording.h"

#include <algorithm>
#include <limits>
#include <new>

#include "base/audio_units.h"
#include "base/caption_area.h"
#include "base/guard.h"
#include "mp4box/box_header.h"
#include "mp4box/box_type.h"
#include "mp4box/sample_flags.h"
#include "recording/date_time.h"
#include "recording/messages.h"
#include "recording/paths.h"
#include "recording/track_number.h"
#include "recording/write/caption_samples.h"
#include "recording/write/default_boxes.h"
#include "recording/write/fragment_setup.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;

constexpr std::uint32_t kSyncSample = mp4::kDependsOnNone;
constexpr std::uint32_t kOtherSample = mp4::kDependsOnOthers | mp4::kNonSync;

// Maximum fragments' worth of frames that wait for audio that does not arrive.
constexpr std::uint32_t kMaxAudioLagFragments = 2;

constexpr std::uint32_t kPairBytes = 2;

std::span<const std::uint8_t>& bytesOf(TrackBytes& bytes, TrackKind kind) {
  return bytes[static_cast<std::size_t>(kind)];
}

std::array<std::uint8_t, kBoxHeaderBytes> boxHeader(std::uint32_t size, std::uint32_t type) {
  std::array<std::uint8_t, kBoxHeaderBytes> header;
  for (unsigned i = 0; i < 4; ++i) {
    header[i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
    header[4 + i] = static_cast<std::uint8_t>(type >> (24 - 8 * i));
  }
  return header;
}

bool reserveMore(std::vector<std::uint8_t>& bytes, std::size_t count) try {
  if (bytes.size() + count > bytes.capacity()) bytes.reserve(bytes.size() * 2 + count);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

}  // namespace

bool VideoRecording::create(const std::string& path) {
  return file_.create(path, videoPlaylistPath(path));
}

bool VideoRecording::start(const VideoSettings& settings, MpdWriter* manifest, bool separateAudio) {
  started_ = true;
  settings_ = settings;
  tracks_ = {true, hasAudio(), settings.captions608, settings.captions708};
  mp4::Movie described = movie();
  if (!file_.start(described, segments())) return false;
  startPlaylist();
  manifest_ = manifest;
  if (manifest_) startManifest(separateAudio);
  return true;
}

mp4::AVCConfigurationBox VideoRecording::avcConfiguration() const {
  mp4::AVCConfigurationBox avcC = mp4::AVCConfigurationBox::placeholder();
  if (!settings_.avcRecord.empty()) avcC.record = settings_.avcRecord;
  return avcC;
}

mp4::Movie VideoRecording::movie() const {
  const FrameRate& rate = settings_.rate;
  mp4::Movie movie;
  movie.mvhd = Mp4SetUpMovieHeader();
  movie.mvex = Mp4SetUpMovieExtends(tracks_, rate.denominator, false);
  mp4::Track& video = movie.tracks[TrackKind::Video].emplace(
      Mp4SetUpVideoTrack(trackNumber(TrackKind::Video), rate.numerator,
                         static_cast<std::uint32_t>(settings_.width), settings_.height));
  std::get<mp4::VideoMedia>(video.media).avcC = avcConfiguration();
  if (hasAudio()) movie.tracks[TrackKind::Audio] = setUpAudioTrack(*settings_.audio);
  if (tracks_.captions608) {
    movie.tracks[TrackKind::Captions608] =
        Mp4SetUp608Track(trackNumber(TrackKind::Captions608), rate.numerator);
  }
  if (tracks_.captions708) {
    movie.tracks[TrackKind::Captions708] =
        Mp4SetUp708Track(trackNumber(TrackKind::Captions708), rate.numerator);
  }
  return movie;
}

std::uint64_t VideoRecording::segmentFrames() const {
  return std::uint64_t{settings_.geometry.framesPerFragment} * settings_.geometry.fragmentsPerSegment;
}

SegmentSettings VideoRecording::segments() const {
  SegmentSettings segments;
  segments.trackNumber = trackNumber(TrackKind::Video);
  segments.timescale = settings_.rate.numerator;
  segments.firstPresentationTime = kFirstVideoIndexTime;
  segments.duration = segmentFrames() * frameTicks(settings_.rate);
  segments.fragmentsPerSegment = settings_.geometry.fragmentsPerSegment;
  return segments;
}

void VideoRecording::startPlaylist() {
  file_.listIn(
      {file_.name(), settings_.rate.value(), segmentFrames(), file_.initialisationLength(), dateTimeNow()});
}

void VideoRecording::startManifest(bool separateAudio) {
  const mp4::AVCConfigurationBox avcC = avcConfiguration();
  MpdVideo listed;
  listed.profile = avcC.profileIndication();
  listed.level = avcC.levelIndication();
  listed.width = static_cast<std::uint32_t>(settings_.width);
  listed.height = rowsOf(settings_.height);
  listed.rate = settings_.rate;
  listed.startTime = dateTimeNow();
  if (hasAudio()) listed.audio = {kAudioObjectType, settings_.audio->sampleRate};
  listed.segments = {file_.name(), settings_.rate.numerator, segmentFrames() * frameTicks(settings_.rate),
                     file_.initialisationLength() - 1};
  file_.listIn(*manifest_, manifest_->beginVideo(listed, separateAudio));
}

// Whether one fragment could hold everything that waits and `moreBytes` more.
bool VideoRecording::takes(std::uint64_t moreBytes) const {
  const std::uint64_t samples = std::uint64_t{video_.count()} + audio_.count() + cc708_.count() + 2;
  return fitsFragment(video_.bytes() + audio_.bytes() + cc608_.size() + cc708_.bytes() + moreBytes, samples);
}

std::uint32_t VideoRecording::writeVideo(const DFRAME& frame) {
  if (file_.failed()) return VL_FAILED;
  const std::int64_t offset = std::int64_t{frame.compositionOffset} * frameTicks(settings_.rate);
  if (offset != static_cast<std::int32_t>(offset)) {
    messages::reportError(messages::kOffsetTooLarge);
    return VL_FAILED;
  }
  if (!takes(std::uint64_t{frame.bytes} + sizeof frame.captions) || !video_.reserve(frame.bytes)) {
    ErrOut("%s", messages::kNoVideoBuffer);
    return VL_FAILED;
  }
  if (!reserveCaptions()) return VL_FAILED;
  mp4::TrackRunBox::Sample sample;
  sample.flags = frame.flags & DFRAME_NOT_KEY ? kOtherSample : kSyncSample;
  sample.compositionOffset = offset;
  video_.append(sample, {frame.data, frame.bytes});
  appendCaptions(frame);
  ++frames_;
  return emitReadyFragments();
}

// Before a frame is taken, so that its tracks stay in step.
bool VideoRecording::reserveCaptions() {
  if (tracks_.captions608 && !reserveMore(cc608_, kPairBytes)) {
    ErrOut("%s", messages::kNoCc608Buffer);
    return false;
  }
  if (tracks_.captions708 && !cc708_.reserve(sizeof(DFRAME::captions) + kBoxHeaderBytes)) {
    ErrOut("%s", messages::kNoCc708Buffer);
    return false;
  }
  return true;
}

void VideoRecording::appendCaptions(const DFRAME& frame) {
  if (tracks_.captions608) {
    const auto pair = cc608PairOf(frame);
    cc608_.insert(cc608_.end(), pair.begin(), pair.end());
  }
  if (!tracks_.captions708) return;
  const auto packet = cc708PacketOf(frame);
  const auto size = static_cast<std::uint32_t>(kBoxHeaderBytes + packet.size());
  std::array<std::uint8_t, kBoxHeaderBytes + sizeof frame.captions> box;
  const auto header = boxHeader(size, box_type::kCcdp);
  std::copy(packet.begin(), packet.end(), std::copy(header.begin(), header.end(), box.begin()));
  cc708_.append({}, std::span(box).first(size));
}

std::uint32_t VideoRecording::writeAudio(std::span<const std::uint8_t> frame) {
  if (file_.failed()) return VL_FAILED;
  if (!takes(frame.size()) || !audio_.reserve(static_cast<std::uint32_t>(frame.size()))) {
    ErrOut("%s", messages::kNoVideoBuffer);  // intended (quirk 11): the text for video
    return VL_FAILED;
  }
  audio_.append({}, frame);
  return emitReadyFragments();
}

// Access units that belong to the frames written so far and `moreFrames`, less those written. Counted from
// the start: what rounding takes from one fragment comes with a later one.
std::uint32_t VideoRecording::audioExpected(std::uint32_t moreFrames) const {
  const FrameRate& rate = settings_.rate;
  const std::uint64_t all =
      scaleExactly(framesWritten_ + moreFrames, std::uint64_t{settings_.audio->sampleRate} * rate.denominator,
                   std::uint64_t{rate.numerator} * kAacFrameSamples);
  return all > audioFramesWritten_ ? saturate<std::uint32_t>(all - audioFramesWritten_) : 0;
}

// Emits every complete fragment. The samples have been taken by now: what memory is too short for is written
// with a later one, or at the end.
std::uint32_t VideoRecording::emitReadyFragments() {
  return guarded(VL_OK, [this] { return cutAllThatAre(); });
}

// A fragment is complete once its frames are there, and its audio is there or has been waited for long
// enough.
std::uint32_t VideoRecording::cutAllThatAre() {
  const std::uint32_t frames = settings_.geometry.framesPerFragment;
  if (file_.segmentFull() && !finishSegment(framesWritten_)) return VL_FAILED;
  while (video_.count() >= frames) {
    std::uint32_t audio = 0;
    if (hasAudio()) {
      // The end of a segment waits for the next frame: if none comes, the segment takes all the remaining
      // audio.
      if (video_.count() == frames && file_.oneFragmentShort()) return VL_OK;
      audio = audioExpected(frames);
      if (audio_.count() < audio && video_.count() < frames * (1 + kMaxAudioLagFragments)) return VL_OK;
      audio = std::min(audio, audio_.count());
    }
    if (!emitFragment(frames, audio)) return VL_FAILED;
    if (file_.segmentFull() && !finishSegment(framesWritten_)) return VL_FAILED;
  }
  return VL_OK;
}

// Writes the first `frames` frames, with their captions, and `audioFrames` access units.
bool VideoRecording::emitFragment(std::uint32_t frames, std::uint32_t audioFrames) {
  // Audio that outlasts the video is written alone.
  const mp4::TrackSet tracks = frames != 0 ? tracks_ : mp4::TrackSet{.audio = true};
  mp4::MovieFragment fragment = Mp4SetUpFragment(0, tracks);
  const std::uint32_t duration = frames * frameTicks(settings_.rate);
  const std::uint64_t time = framesWritten_ * frameTicks(settings_.rate);
  TrackBytes bytes;
  if (auto& track = fragment.tracks[TrackKind::Video]) {
    setDecodeTime(*track, time);
    bytesOf(bytes, TrackKind::Video) = video_.take(frames, track->trun);
    // Negative offsets need version 1 of the run, in which they are signed.
    for (std::uint32_t i = 0; i < frames; ++i) {
      if (track->trun.compositionOffset(i) > std::numeric_limits<std::int32_t>::max())
        track->trun.version = 1;
    }
  }
  if (auto& track = fragment.tracks[TrackKind::Audio]) {
    setDecodeTime(*track, audioFramesWritten_ * kAacFrameSamples);
    bytesOf(bytes, TrackKind::Audio) = audio_.take(audioFrames, track->trun);
  }
  if (auto& track = fragment.tracks[TrackKind::Captions608]) {
    setDecodeTime(*track, time);
    bytesOf(bytes, TrackKind::Captions608) = takeCc608(frames, *track);
  }
  if (auto& track = fragment.tracks[TrackKind::Captions708]) {
    setDecodeTime(*track, time);
    bytesOf(bytes, TrackKind::Captions708) = cc708_.take(frames, track->trun);
  }
  if (!file_.AddFragment(fragment, bytes, {duration, false})) return false;
  video_.drop(frames);
  audio_.drop(audioFrames);
  if (tracks.captions608) cc608_.erase(cc608_.begin(), cc608_.begin() + std::ptrdiff_t{frames} * kPairBytes);
  if (tracks.captions708) cc708_.drop(frames);
  framesWritten_ += frames;
  audioFramesWritten_ += audioFrames;
  return true;
}

// The byte pairs of a fragment's frames are one sample, whose duration is that of the fragment.
std::span<const std::uint8_t> VideoRecording::takeCc608(std::uint32_t frames, mp4::TrackFragment& track) {
  const auto pairs = std::span(cc608_).first(std::size_t{frames} * kPairBytes);
  const auto header = boxHeader(static_cast<std::uint32_t>(kBoxHeaderBytes + pairs.size()), box_type::kCdat);
  cc608Sample_.assign(header.begin(), header.end());
  cc608Sample_.insert(cc608Sample_.end(), pairs.begin(), pairs.end());
  track.tfhd.defaultSampleDuration = frames * frameTicks(settings_.rate);
  track.tfhd.defaultSampleSize = static_cast<std::uint32_t>(cc608Sample_.size());
  track.trun.sampleCount = 1;
  return cc608Sample_;
}

bool VideoRecording::finishSegment(std::uint64_t endFrame) {
  if (!file_.finishSegment(endFrame)) return false;
  // The manifest's name must be durable from the first time on. If a later version is lost in a power cut,
  // the one before it remains, whose segments are all there.
  saveManifest(endFrame, manifestSaved_ ? os::Durability::EitherContent : os::Durability::NewContent);
  return true;
}

// Saves the manifest for all its media files: once a segment of the video, after each file has waited for the
// disk. Segments of separate audio are in it from the next time on.
//
// So a segment of a recording with separate audio costs three waits: two for the media, which have to be on
// the disk before the manifest, and one for the bytes of the manifest, which have to be there before its
// name.
void VideoRecording::saveManifest(std::uint64_t frames, os::Durability durability) {
  if (!manifest_) return;
  manifestSaved_ = guarded(manifestSaved_, [&] {
    manifest_->setDuration(frames);
    return manifest_->save(durability) || manifestSaved_;
  });
}

bool VideoRecording::finish() {
  bool complete = !file_.failed();
  // Frames that waited for audio are still emitted as always.
  const std::uint32_t frames = settings_.geometry.framesPerFragment;
  // Running out of memory here must not prevent the segment from being finished.
  const auto cut = [this](std::uint32_t count, std::uint32_t audioFrames) {
    return guarded(false, [&] {
      return (!file_.segmentFull() || finishSegment(framesWritten_)) && emitFragment(count, audioFrames);
    });
  };
  while (complete && video_.count() > frames) {
    complete = cut(frames, hasAudio() ? std::min(audioExpected(frames), audio_.count()) : 0);
  }
  // Audio without any frame is dropped: players need a frame in every segment.
  const bool hasFrames = framesWritten_ != 0 || video_.count() != 0;
  if (complete && hasFrames && (video_.count() != 0 || audio_.count() != 0))
    complete = cut(video_.count(), audio_.count());
  if (file_.segmentOpen())
    complete = guarded(false, [this] { return finishSegment(framesWritten_); }) && complete;
  if (started_) saveManifest(framesWritten_, os::Durability::NewContent);
  file_.close();
  return complete;
}

}  // namespace fmp4
