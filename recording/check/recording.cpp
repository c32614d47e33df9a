#include "recording/check/recording.h"

#include "base/user_error.h"
#include "recording/check/existing_lists.h"

namespace fmp4 {

namespace {

[[noreturn]] void nothingRecorded(const std::string& path) {
  throw UserError("'" + path + "' ends before its movie box: it has nothing that could be played");
}

}  // namespace

// Null when there is no file, or one in which no recording was begun.
std::unique_ptr<Recording::File> Recording::open(const std::string& path) {
  auto file = std::make_unique<File>();
  const VLHANDLE handle = file->stream.open(path.c_str(), MP4_MODE_READ);
  return handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE ? nullptr : std::move(file);
}

Recording::Recording(const std::string& name, RecordedMedia::Data data, const Progress& progress)
    : names_(findRecording(name)) {
  const std::string& first = names_.video.empty() ? names_.audio : names_.video;
  std::unique_ptr<File> main = open(first), companion;
  if (!main) throw UserError("'" + first + "' cannot be opened; check its permissions");
  if (!names_.video.empty() && !names_.audio.empty()) companion = open(names_.audio);
  const std::uint64_t mainSize = main->stream.size();
  const std::uint64_t total = mainSize + (companion ? companion->stream.size() : 0);
  const auto read = [&](File& file, const std::string& path, std::uint64_t before) {
    file.media = std::make_unique<RecordedMedia>(
        file.stream, fileNameOf(path), data, problems_,
        progress ? [&progress, total, before](std::uint64_t done) { progress(before + done, total); }
                 : std::function<void(std::uint64_t)>());
  };
  try {
    read(*main, first, 0);
  } catch (const NotRecorded& reason) {
    throw UserError("'" + first + "' " + reason.what() + "; 'fmp4 boxes' shows what it holds");
  }
  if (!main->media->movie()) nothingRecorded(first);
  if (!main->media->movie()->hasVideo()) {
    names_ = namesOfAudioAlone(first);
    audio_ = std::move(main);
    return;
  }
  video_ = std::move(main);
  if (!companion) return;
  // An audio file of the same name is part of the recording unless the manifest says otherwise.
  const auto previous = readPreviousManifest(names_.manifest, video()->initialisationLength());
  if (previous && !previous->placesAudio) return;
  try {
    read(*companion, names_.audio, mainSize);
    if (companion->media->movie() && companion->media->movie()->hasVideo()) return;
    audio_ = std::move(companion);
  } catch (const NotRecorded&) {
    // It was never begun: the recording went on without audio.
  }
}

std::vector<std::pair<std::string, const RecordedMedia*>> Recording::media() const {
  std::vector<std::pair<std::string, const RecordedMedia*>> files;
  if (video_) files.emplace_back(names_.video, video_->media.get());
  if (audio_) files.emplace_back(names_.audio, audio_->media.get());
  return files;
}

}  // namespace fmp4
