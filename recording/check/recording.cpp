#include "recording/check/recording.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/user_error.h"
#include "mp4box/require_read.h"
#include "os/path_name.h"
#include "recording/check/existing_lists.h"
#include "recording/paths.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

[[noreturn]] void nothingRecorded(const std::string& path) {
  throw UserError("'" + path + "' ends before its movie box: it has nothing that could be played");
}

bool isPresent(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_regular_file(vlPath(path), ignored);
}

}  // namespace

// Null when there is no file. Throws UserError when it cannot be opened.
std::unique_ptr<Recording::File> Recording::open(const std::string& path) {
  if (!isPresent(path)) return nullptr;
  auto file = std::make_unique<File>();
  const VLHANDLE handle = file->stream.open(path.c_str(), MP4_MODE_READ);
  if (handle != VL_NO_HANDLE && handle != VL_INVALID_HANDLE) return file;
  throw UserError("'" + path + "' cannot be opened: " +
                  std::system_category().message(static_cast<int>(vlOSGetLastError())));
}

// `before`: the bytes of the media files that have been read.
void Recording::read(File& file, const std::string& path, std::uint64_t before) {
  try {
    file.media = std::make_unique<RecordedMedia>(
        file.stream, fileNameOf(path), data_, problems_,
        progress_ ? [this, before](std::uint64_t done) { progress_(before + done, total_); }
                  : std::function<void(std::uint64_t)>());
  } catch (const NotRecorded&) {
    requireRead(file.stream, path);
    throw;
  }
  // What the host failed to read must not pass for what an interruption left out.
  requireRead(file.stream, path);
}

Recording::Recording(const std::string& name, RecordedMedia::Data data, const Progress& progress)
    : paths_(findRecordingPaths(name)), data_(data), progress_(progress) {
  const std::string& first = paths_.video.empty() ? paths_.audio : paths_.video;
  std::unique_ptr<File> main = open(first), companion;
  if (!main) throw UserError("'" + first + "' is no file; check the name");
  if (!paths_.video.empty() && !paths_.audio.empty()) companion = open(paths_.audio);
  const std::uint64_t mainSize = main->stream.size();
  requireRead(main->stream, first);
  if (mainSize == 0) throw UserError("'" + first + "' is empty: nothing of the recording is left in it");
  total_ = mainSize + (companion ? companion->stream.size() : 0);
  try {
    read(*main, first, 0);
  } catch (const NotRecorded& reason) {
    throw UserError("'" + first + "' " + reason.what() + "; 'fmp4 boxes' shows what it holds");
  }
  if (!main->media->movie()) nothingRecorded(first);
  if (!main->media->movie()->hasVideo()) {
    paths_ = pathsOfAudioAlone(first);
    audio_ = std::move(main);
    noteLostVideo();
    return;
  }
  video_ = std::move(main);
  if (!paths_.audio.empty()) readAudioOfVideo(std::move(companion), mainSize);
}

// An audio file of the same name is part of the recording unless the manifest says otherwise. One that was
// never begun is of no concern: the recording went on without audio.
void Recording::readAudioOfVideo(std::unique_ptr<File> file, std::uint64_t before) {
  const auto previous = readPreviousManifest(paths_.manifest, video()->initialisationLength());
  if (previous && !previous->placesAudio) return;
  if (!file) return noteLostAudio("is missing");
  const bool empty = file->stream.size() == 0;
  requireRead(file->stream, paths_.audio);
  if (empty) return noteLostAudio("is empty");
  try {
    read(*file, paths_.audio, before);
  } catch (const NotRecorded& reason) {
    return noteLostAudio(reason.what());
  }
  if (!file->media->movie()) noteLostAudio("ends before its movie box");
  if (file->media->movie() && file->media->movie()->hasVideo()) return noteLostAudio("has video in it");
  audio_ = std::move(file);
}

// Audio without a listed segment was hardly begun when the recording was interrupted.
void Recording::noteLostAudio(const std::string& why) {
  const auto previous = readPreviousManifest(paths_.manifest, video()->initialisationLength());
  const std::string name = fileNameOf(paths_.audio);
  const std::uint64_t listed =
      std::max(previous ? previous->audioSegments : 0, segmentsListed(paths_.audioPlaylist, name));
  if (listed == 0) return;
  lostAudio_ = why;
  problems_.add({name, std::nullopt,
                 "the audio file " + why + "; the lists name " + std::to_string(listed) +
                     (listed == 1 ? " segment of it" : " segments of it"),
                 false});
}

// Of audio alone: whether it has been recorded with video that its manifest names.
void Recording::noteLostVideo() {
  const std::string manifest = manifestPath(paths_.audio);
  const auto video = isPresent(manifest) ? firstMediaOf(manifest) : std::nullopt;
  if (!video || video->empty() || *video == fileNameOf(paths_.audio) || *video != fileNameOf(*video)) return;
  if (isPresent(vlName(vlPath(manifest).replace_filename(vlPath(*video))))) return;
  problems_.add({fileNameOf(manifest), std::nullopt,
                 "it names the video file '" + *video + "', which is missing", false});
}

std::vector<std::pair<std::string, const RecordedMedia*>> Recording::media() const {
  std::vector<std::pair<std::string, const RecordedMedia*>> files;
  if (video_) files.emplace_back(paths_.video, video_->media.get());
  if (audio_) files.emplace_back(paths_.audio, audio_->media.get());
  return files;
}

}  // namespace fmp4
