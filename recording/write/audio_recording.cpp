#include "recording/write/audio_recording.h"

#include <algorithm>

#include "base/audio_units.h"
#include "base/guard.h"
#include "recording/date_time.h"
#include "recording/messages.h"
#include "recording/paths.h"
#include "recording/track_number.h"
#include "recording/write/default_boxes.h"
#include "recording/write/fragment_setup.h"

namespace fmp4 {

namespace {

using mp4::TrackKind;

// Enough for hours of audio: only rates that no video has need more.
constexpr std::uint32_t kMaxUnitsPerFragment = 1u << 20;

constexpr mp4::TrackSet kAudioAlone = {.audio = true};

}  // namespace

bool AudioRecording::create(const std::string& path) {
  return file_.create(path, audioPlaylistPath(path));
}

bool AudioRecording::start(const AudioSettings& audio, const SegmentGeometry& geometry, const FrameRate& rate,
                           MpdWriter* manifest) {
  started_ = true;
  audio_ = audio;
  const std::uint64_t samples = scaleExactly(std::uint64_t{audio.sampleRate} * geometry.framesPerFragment,
                                             rate.denominator, rate.numerator);
  framesPerFragment_ = saturate<std::uint32_t>((samples + kAacFrameSamples - 1) / kAacFrameSamples);
  framesPerFragment_ = std::clamp(framesPerFragment_, 1u, kMaxUnitsPerFragment);
  const std::uint64_t segmentSamples =
      std::uint64_t{framesPerFragment_} * kAacFrameSamples * geometry.fragmentsPerSegment;

  mp4::Movie movie;
  movie.mvhd = Mp4SetUpMovieHeader();
  movie.mvex = Mp4SetUpMovieExtends(kAudioAlone, rate.denominator, false);
  movie.tracks[TrackKind::Audio] = setUpAudioTrack(audio);
  SegmentSettings segments;
  segments.trackNumber = trackNumber(TrackKind::Audio);
  segments.timescale = audio.sampleRate;
  segments.firstPresentationTime = firstAudioIndexTime(segmentSamples);
  segments.duration = segmentSamples;
  segments.fragmentsPerSegment = geometry.fragmentsPerSegment;
  if (!file_.start(movie, segments)) return false;

  file_.listIn({file_.name(), static_cast<double>(audio.sampleRate), segmentSamples,
                file_.initialisationLength(), dateTimeNow()});
  if (manifest) {
    file_.listIn(*manifest, manifest->beginAudio({kAudioObjectType,
                                                  audio.byteRate,
                                                  {file_.name(), audio.sampleRate, segmentSamples,
                                                   file_.initialisationLength() - 1}}));
  }
  return true;
}

std::uint32_t AudioRecording::write(std::span<const std::uint8_t> frame) {
  if (file_.failed()) return VL_FAILED;
  if (!fitsFragment(run_.bytes() + frame.size(), run_.count() + 1) ||
      !run_.reserve(static_cast<std::uint32_t>(frame.size()))) {
    ErrOut("%s", messages::kNoVideoBuffer);  // intended (quirk 11): the text for video
    return VL_FAILED;
  }
  run_.append({}, frame);
  // The frame has been taken: what memory is too short for is written with a later one, or at the end.
  return guarded(VL_OK, [this] { return emitReadyFragments(); });
}

std::uint32_t AudioRecording::emitReadyFragments() {
  if (file_.segmentFull() && !file_.finishSegment(position_)) return VL_FAILED;
  while (run_.count() >= framesPerFragment_) {
    if (!emitFragment(framesPerFragment_, framesPerFragment_ * kAacFrameSamples)) return VL_FAILED;
    if (file_.segmentFull() && !file_.finishSegment(position_)) return VL_FAILED;
  }
  return VL_OK;
}

bool AudioRecording::emitFragment(std::uint32_t frames, std::uint32_t duration) {
  mp4::MovieFragment fragment = Mp4SetUpFragment(0, kAudioAlone);
  mp4::TrackFragment& track = *fragment.tracks[TrackKind::Audio];
  setDecodeTime(track, position_);
  TrackBytes bytes;
  bytes[static_cast<std::size_t>(TrackKind::Audio)] = run_.take(frames, track.trun);
  if (!file_.AddFragment(fragment, bytes, {duration, true})) return false;
  run_.drop(frames);
  position_ += duration;
  return true;
}

// Access units that wait until a fragment is full.
bool AudioRecording::cutLast() {
  if (emitReadyFragments() != VL_OK) return false;
  return run_.count() == 0 || emitFragment(run_.count(), run_.count() * audio_.samplesPerFrame);
}

bool AudioRecording::finish() {
  bool complete = !file_.failed();
  // Running out of memory here must not prevent the segment from being finished.
  if (complete && started_) complete = guarded(false, [this] { return cutLast(); });
  if (file_.segmentOpen())
    complete = guarded(false, [this] { return file_.finishSegment(position_); }) && complete;
  file_.close();
  return complete;
}

}  // namespace fmp4
