// Opens the media-file object, for reading or for recording.
#include "base/guard.h"
#include "plugin/fmp4_object.h"
#include "plugin/recorder.h"
#include "plugin/source.h"
#include "qvrutil.h"

namespace fmp4 {

std::uint32_t CMFFmp4::Open(const char* fileName, std::uint32_t access, std::uint32_t share, void* security,
                            std::uint32_t creation, std::uint32_t attributes, std::uint32_t openFlags) {
  if (m_isOpen) Close();
  const std::uint32_t noted = m_setOpen(fileName, access, share, security, creation, attributes, openFlags);
  if (noted != VL_OK) return noted;
  const std::uint32_t result =
      guarded(VL_FAILED, [this] { return m_fCreateFile() ? openWrite() : openRead(); });
  if (result != VL_OK) Close();
  return result;
}

std::uint32_t CMFFmp4::openRead() {
  LastManifest own;
  LastManifest& manifest = m_lastManifest ? *m_lastManifest : own;
  m_source = std::make_unique<Source>(host());
  if (const std::uint32_t result = m_source->open(m_fileName, m_openFlags, manifest); result != VL_OK)
    return result;
  m_handle = m_source->handle();
  // If the audio file beside the video cannot be opened, the video opens alone.
  if (const std::string& path = m_source->companionPath(); !path.empty()) {
    if (auto companion = openAudioFile(path, &manifest)) m_source->join(std::move(companion));
  }
  m_source->completeDescription();
  if (const std::uint32_t result = m_source->checkComplete(); result != VL_OK) return result;
  qvrInfoSet(this, &m_info);
  return VL_OK;
}

std::uint32_t CMFFmp4::openWrite() {
  m_recorder = std::make_unique<Recorder>(host(), m_recordingOptions);
  const bool audioOnly = (m_openFlags & MF_OPEN_AUDIO_ONLY) != 0;
  const std::uint32_t result =
      audioOnly ? m_recorder->createAudio(m_fileName) : m_recorder->createVideo(m_fileName);
  m_handle = m_recorder->handle();
  return result;
}

// Opens an audio file in an object of its own, with the arguments of this object's open and, unless it is
// null, the manifest that this object has read. Null on failure.
std::unique_ptr<CMFFmp4> CMFFmp4::openAudioFile(const std::string& path, LastManifest* manifest) const {
  auto file = std::make_unique<CMFFmp4>(kFileTypeCode);
  file->m_lastManifest = manifest;
  const std::uint32_t result = file->Open(path.c_str(), m_access, m_share, m_security, m_creation,
                                          m_attributes, m_openFlags | MF_OPEN_AUDIO_ONLY);
  file->m_lastManifest = nullptr;
  if (result != VL_OK) file.reset();
  return file;
}

}  // namespace fmp4
