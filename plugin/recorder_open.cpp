// Opens a recording: creates the media file, and the manifest that will list it.
#include <utility>

#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "plugin/recorder.h"
#include "plugin/status.h"
#include "recording/paths.h"
#include "recording/write/stale_files.h"

namespace fmp4 {

namespace {

std::uint32_t cannotCreate(const char* text) {
  messages::reportWarning(text);
  ErrOut("fmp4OpenWrite(0x%lX)", static_cast<unsigned long>(FMP4_E_CANNOT_CREATE));
  return FMP4_E_CANNOT_CREATE;
}

// Whether the host has created the file. The previous media are then gone, whatever fails later.
bool hasReplaced(const RecordedFile& file) {
  return file.handle() != VL_NO_HANDLE;
}

}  // namespace

Recorder::Recorder(HostView host, const RecordingOptions& options)
    : host_(std::move(host)), options_(options) {}

Recorder::~Recorder() = default;

std::uint32_t Recorder::createAudio(const std::string& name) {
  audioRecording_ = std::make_unique<AudioRecording>();
  const std::string previousList = staleAudioPlaylist(name);
  const bool created = audioRecording_->create(name);
  if (hasReplaced(audioRecording_->file())) removeStaleFile(previousList);
  if (!created) return cannotCreate(messages::kCannotCreateAudio);
  handle_ = audioRecording_->file().handle();
  return VL_OK;
}

std::uint32_t Recorder::createVideo(const std::string& name) {
  const std::string path = videoPath(name);
  const std::string manifest = manifestPath(name);
  videoRecording_ = std::make_unique<VideoRecording>();
  // The manifest or the playlist would overwrite media of the same name.
  const bool nameTaken = path == manifest || path == videoPlaylistPath(path);
  // Stale manifests and playlists refer to deleted media; stale audio would be taken for the new.
  const std::vector<std::string> previous = staleRecordingFiles(path, manifest);
  const bool created = !nameTaken && videoRecording_->create(path);
  if (hasReplaced(videoRecording_->file()))
    for (const std::string& file : previous) removeStaleFile(file);
  if (!created) return cannotCreate(messages::kCannotCreateVideo);
  handle_ = videoRecording_->file().handle();
  videoPath_ = path;
  manifest_ = std::make_unique<MpdWriter>(manifest);
  return VL_OK;
}

std::string Recorder::companionPath() const {
  if (companion_ || !hasSeparateAudio(videoPath_) || videoRecording_->started()) return {};
  const std::string path = audioPath(videoPath_);
  return path == videoPath_ ? std::string() : path;
}

void Recorder::join(std::unique_ptr<CMFFmp4> companion) {
  companion_ = std::move(companion);
}

}  // namespace fmp4
