#include "recording/check/verify.h"

#include <filesystem>
#include <fstream>

#include "base/audio_units.h"
#include "os/file_in_use.h"
#include "os/path_name.h"
#include "recording/check/list_difference.h"
#include "recording/segment_geometry.h"
#include "streaming/lists/manifest_document.h"

namespace fmp4 {

namespace {

using Difference = std::string (*)(std::string_view expected, std::string_view actual);

void checkList(const std::string& path, const std::string& expected, Difference difference,
               Verification& result) {
  if (expected.empty()) return;
  const std::string name = fileNameOf(path);
  result.files.push_back(name);
  const auto actual = readList(path);
  if (!actual) {
    result.problems.add({name, std::nullopt, "it is missing, or cannot be read", true});
    return;
  }
  const std::string found = difference(expected, *actual);
  if (!found.empty()) result.problems.add({name, std::nullopt, found, true});
}

// Audio sample durations are those of the track: those of AAC, in recordings.
double audioSecondsOf(const Recording& recording) {
  const RecordedMedia* const media = recording.audio() ? recording.audio() : recording.video();
  const auto& audioTrack = media->movie()->tracks[mp4::TrackKind::Audio];
  if (!audioTrack || audioTrack->timescale == 0) return 0;
  return static_cast<double>(media->audioFrames()) * kAacFrameSamples / audioTrack->timescale;
}

std::vector<std::string> notesOf(const Recording& recording) {
  if (!recording.video()) return {};
  const RecordedMedia& ofAudio = recording.audio() ? *recording.audio() : *recording.video();
  const auto video = recording.video()->timeline(mp4::TrackKind::Video);
  const auto audioTrack = ofAudio.timeline(mp4::TrackKind::Audio);
  return video && audioTrack ? timelineNotes(*video, *audioTrack) : std::vector<std::string>();
}

}  // namespace

std::optional<std::string> readList(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(vlPath(path), error);
  if (error || size > kMaxManifestBytes) return std::nullopt;
  std::ifstream file(vlPath(path), std::ios::binary);
  std::string text(static_cast<std::size_t>(size), '\0');
  file.read(text.data(), static_cast<std::streamsize>(size));
  if (!file) return std::nullopt;
  return text;
}

Verification verifyRecording(const std::string& name, const Recording::Progress& progress) {
  const Recording recording(name, RecordedMedia::Data::All, progress);
  Verification result;
  result.problems = recording.problems();
  for (const auto& [path, media] : recording.media()) {
    result.files.push_back(media->name());
    result.fragments += media->fragments().size();
    result.segments += media->segments().size();
    result.audioFrames += media->audioFrames();
    result.beingWritten = result.beingWritten || os::isBeingWritten(path);
  }
  if (const RecordedMedia* const video = recording.video()) {
    result.frames = video->positions();
    result.seconds = static_cast<double>(result.frames) / video->movie()->frameRate().value();
  } else {
    const RecordedMedia* const audio = recording.audio();
    result.seconds = static_cast<double>(audio->positions()) / audio->movie()->indexedTrack().timescale;
  }
  result.audioSeconds = audioSecondsOf(recording);
  result.notes = notesOf(recording);
  const RecordingNames& names = recording.names();
  const Recording::Lists lists = recording.lists();
  checkList(names.manifest, lists.manifest, manifestDifference, result);
  checkList(names.videoPlaylist, lists.videoPlaylist, playlistDifference, result);
  checkList(names.audioPlaylist, lists.audioPlaylist, playlistDifference, result);
  checkList(names.masterPlaylist, lists.masterPlaylist, playlistDifference, result);
  return result;
}

}  // namespace fmp4
