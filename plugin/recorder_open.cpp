// Opens a recording: creates the media file, and the manifest that will list it.
#include <utility>

#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "plugin/recorder.h"
#include "plugin/status.h"
#include "recording/paths.h"
#include "recording/write/stale_files.h"

namespace {

std::uint32_t refuse(const char* text) {
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
    : m_host(std::move(host)), m_options(options) {}

Recorder::~Recorder() = default;

std::uint32_t Recorder::createAudio(const std::string& name) {
  m_audioRecording = std::make_unique<AudioRecording>();
  const std::string previousList = StaleAudioPlaylist(name);
  const bool created = m_audioRecording->Create(name);
  if (hasReplaced(m_audioRecording->file())) RemoveStaleFile(previousList);
  if (!created) return refuse(messages::kCannotCreateAudio);
  m_handle = m_audioRecording->file().handle();
  return VL_OK;
}

std::uint32_t Recorder::createVideo(const std::string& name) {
  const std::string path = VideoPath(name);
  const std::string manifest = ManifestPath(name);
  m_videoRecording = std::make_unique<VideoRecording>();
  // The manifest or the playlist would overwrite media of the same name.
  const bool nameTaken = path == manifest || path == VideoPlaylistPath(path);
  // Stale manifests and playlists refer to deleted media; stale audio would be taken for the new.
  const std::vector<std::string> former = StaleRecordingFiles(path, manifest);
  const bool created = !nameTaken && m_videoRecording->Create(path);
  if (hasReplaced(m_videoRecording->file()))
    for (const std::string& file : former) RemoveStaleFile(file);
  if (!created) return refuse(messages::kCannotCreateVideo);
  m_handle = m_videoRecording->file().handle();
  m_videoPath = path;
  m_manifest = std::make_unique<MpdWriter>(manifest);
  return VL_OK;
}

std::string Recorder::companionPath() const {
  if (m_companion || !HasSeparateAudio(m_videoPath) || m_videoRecording->started()) return {};
  const std::string path = AudioPath(m_videoPath);
  return path == m_videoPath ? std::string() : path;
}

void Recorder::join(std::unique_ptr<CMFFmp4> companion) {
  m_companion = std::move(companion);
}
