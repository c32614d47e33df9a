#include "recording/check/verify.h"

#include <algorithm>

#include "base/audio_units.h"
#include "os/file_in_use.h"
#include "recording/check/existing_lists.h"
#include "recording/check/list_difference.h"
#include "recording/check/repair_plan.h"

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

// The playlist of the video promises segments that can be decoded alone (EXT-X-INDEPENDENT-SEGMENTS, RFC
// 8216, 4.3.5.1). That is not so where the source's key frames have another distance than it was recorded
// for.
std::string segmentStartNote(const RecordedMedia& video) {
  const auto startsElsewhere = [&](const RecordedMedia::Segment& segment) {
    return !video.fragments()[segment.firstFragment].startsWithKey;
  };
  const auto& segments = video.segments();
  const auto first = std::find_if(segments.begin(), segments.end(), startsElsewhere);
  if (first == segments.end()) return "";
  std::uint64_t frame = 0;
  for (auto before = segments.begin(); before != first; ++before) frame += video.positions(*before);
  return std::to_string(std::count_if(first, segments.end(), startsElsewhere)) + " of " +
         std::to_string(segments.size()) +
         " segments do not begin with a key frame, as the playlist promises: players cannot start there; the "
         "first of them begins with frame " +
         std::to_string(frame);
}

std::vector<std::string> notesOf(const Recording& recording) {
  if (!recording.video()) return {};
  const RecordedMedia& ofAudio = recording.audio() ? *recording.audio() : *recording.video();
  const auto video = recording.video()->timeline(mp4::TrackKind::Video);
  const auto audioTrack = ofAudio.timeline(mp4::TrackKind::Audio);
  std::vector<std::string> notes;
  if (video && audioTrack) notes = timelineNotes(*video, *audioTrack);
  if (std::string note = segmentStartNote(*recording.video()); !note.empty())
    notes.push_back(std::move(note));
  return notes;
}

// Whether a media file goes on after damage: what is known of it is then not what the lists should say.
bool isDamaged(const Recording& recording) {
  const auto media = recording.media();
  return std::any_of(media.begin(), media.end(),
                     [](const auto& file) { return file.second->afterDamage().has_value(); });
}

void checkLists(const Recording& recording, const Recording::Lists& lists, Verification& result) {
  if (isDamaged(recording)) return;
  const RecordingPaths& paths = recording.paths();
  // Those with the audio cannot be compared while it is lost.
  const bool all = recording.lostAudio().empty();
  if (all) checkList(paths.manifest, lists.manifest, manifestDifference, result);
  checkList(paths.videoPlaylist, lists.videoPlaylist, playlistDifference, result);
  checkList(paths.audioPlaylist, lists.audioPlaylist, playlistDifference, result);
  if (all) checkList(paths.masterPlaylist, lists.masterPlaylist, playlistDifference, result);
}

// Asks repair itself, so that it does what is promised.
void askRepair(const Recording& recording, const Recording::Lists& lists, Verification& result) {
  const RepairPlan plan = planRepair(recording, lists, AudioLoss::Refused);
  if (plan.refused()) {
    result.problems.setUnrepairable();
    result.repair = Verification::Repair::Refused;
    result.remedy = plan.remedy;
  } else if (!result.problems.repairable()) {
    result.repair = plan.empty() ? Verification::Repair::Nothing : Verification::Repair::Something;
  }
}

}  // namespace

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
  for (const std::string& path :
       result.beingWritten ? std::vector<std::string>() : leftoversOf(recording.paths()))
    result.problems.add(
        {fileNameOf(path), std::nullopt, "it is a temporary file of an interrupted run", true});
  const Recording::Lists lists = recording.lists();
  checkLists(recording, lists, result);
  askRepair(recording, lists, result);
  return result;
}

}  // namespace fmp4
