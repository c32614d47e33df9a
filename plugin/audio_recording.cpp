#include "audio_recording.h"

#include <algorithm>

#include "date_time.h"
#include "guard.h"
#include "messages.h"
#include "recording.h"
#include "setup.h"

namespace {

using mp4::TrackKind;

// Hours of sound: only rates that no video has ask for more.
constexpr std::uint32_t kMostFramesPerFragment = 1u << 20;

constexpr mp4::TrackSet kSoundAlone = {.audio = true};

// The audio playlist stands beside that of the video: the name's end tells them apart.
std::string playlistPath(const std::string& mediaPath) {
  char path[VL_MAX_PATH], drive[VL_MAX_PATH], folder[VL_MAX_PATH], name[VL_MAX_PATH];
  vlOSSplitPath(mediaPath.c_str(), drive, folder, name, nullptr);
  vlOSMakePath(path, sizeof path, drive, folder, (std::string(name) + "A").c_str(), ".m3u8");
  return path;
}

}  // namespace

bool AudioRecording::Create(const std::string& path) {
  return file_.Create(path, playlistPath(path));
}

bool AudioRecording::Start(const SoundSettings& sound, const SegmentGeometry& geometry, const FrameRate& rate,
                           MpdWriter* manifest) {
  started_ = true;
  sound_ = sound;
  const std::uint64_t samples = scaleExactly(std::uint64_t{sound.sampleRate} * geometry.framesPerFragment,
                                             rate.denominator, rate.numerator);
  framesPerFragment_ = saturate<std::uint32_t>((samples + kAacFrameSamples - 1) / kAacFrameSamples);
  framesPerFragment_ = std::clamp(framesPerFragment_, 1u, kMostFramesPerFragment);
  const std::uint64_t segmentSamples =
      std::uint64_t{framesPerFragment_} * kAacFrameSamples * geometry.fragmentsPerSegment;

  mp4::Movie movie;
  movie.mvhd = Mp4SetUpMovieHeader();
  movie.mvex = Mp4SetUpMovieExtends(kSoundAlone, rate.denominator, false);
  movie.tracks[TrackKind::Audio] = SetUpSoundTrack(sound);
  SegmentSettings segments;
  segments.trackNumber = mp4::trackNumber(TrackKind::Audio);
  segments.timescale = sound.sampleRate;
  // Intended: the first index is timed as if a segment had gone before it.
  segments.firstPresentationTime = segments.duration = segmentSamples;
  segments.fragmentsPerSegment = geometry.fragmentsPerSegment;
  if (!file_.Start(movie, segments)) return false;

  file_.ListIn({file_.name(), static_cast<double>(sound.sampleRate), segmentSamples,
                file_.initialisationLength(), DateTimeNow()});
  manifest_ = manifest;
  if (manifest) {
    file_.ListIn(*manifest, manifest->BeginAudio({kAudioObjectType,
                                                  sound.byteRate,
                                                  {file_.name(), sound.sampleRate, segmentSamples,
                                                   file_.initialisationLength() - 1}}));
  }
  return true;
}

std::uint32_t AudioRecording::Write(std::span<const std::uint8_t> frame) {
  if (file_.failed()) return VL_FAILED;
  if (!fitsFragment(run_.bytes() + frame.size(), run_.count() + 1) ||
      !run_.reserve(static_cast<std::uint32_t>(frame.size()))) {
    ErrOut("%s", messages::kNoVideoBuffer);  // intended: the text of the video
    return VL_FAILED;
  }
  run_.append({}, frame);
  if (run_.count() < framesPerFragment_) return VL_OK;
  if (!cutFragment(framesPerFragment_, framesPerFragment_ * kAacFrameSamples)) return VL_FAILED;
  if (file_.segmentFull() && !finishSegment()) return VL_FAILED;
  return VL_OK;
}

bool AudioRecording::cutFragment(std::uint32_t frames, std::uint32_t duration) {
  mp4::MovieFragment fragment = Mp4SetUpFragment(0, kSoundAlone);
  mp4::TrackFragment& track = *fragment.tracks[TrackKind::Audio];
  SetDecodeTime(track, position_);
  TrackBytes bytes;
  bytes[static_cast<std::size_t>(TrackKind::Audio)] = run_.take(frames, track.trun);
  if (!file_.AddFragment(fragment, bytes, {duration, true})) return false;
  run_.drop(frames);
  position_ += duration;
  return true;
}

bool AudioRecording::finishSegment() {
  if (!file_.FinishSegment(position_)) return false;
  if (manifest_ && savesManifest_) manifest_->Save();
  return true;
}

bool AudioRecording::Finish() {
  bool whole = !file_.failed();
  // Memory that runs out here must not keep the segment from being finished.
  if (whole && run_.count() != 0) {
    whole =
        guarded(false, [this] { return cutFragment(run_.count(), run_.count() * sound_.samplesPerFrame); });
  }
  if (file_.segmentOpen()) whole = finishSegment() && whole;
  file_.Close();
  return whole;
}
