// Opens a source for reading.
#include "base/guard.h"
#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "qvrutil.h"
#include "streaming/index/seek.h"
#include "streaming/lists/file_set.h"
#include "streaming/lists/manifest_reader.h"

namespace {

// Positions a cursor at the first sample of its track, without loading data. Returns 0 or -1.
int positionOnFirstChunk(FragmentIndex& index, TrackRole role, TrackCursor& cursor) {
  cursor = MakeTrackCursor(index.track(role));
  if (LoadFragment(index, index.nextOccupied(0), 0, false, cursor) < 0) return -1;
  return AdvanceRun(index, false, cursor) == Advance::Ready ? 0 : -1;
}

}  // namespace

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
  const bool audioOnly = (m_openFlags & MF_OPEN_AUDIO_ONLY) != 0;
  FileSet files = FindFileSet(m_fileName, audioOnly);
  const std::optional<Manifest> manifest = LoadManifest(files);
  // Without a video file the audio file is the main one.
  const bool fromAudio = audioOnly || files.video.empty();
  const ManifestTrack segments = !manifest ? ManifestTrack{} : fromAudio ? manifest->audio : manifest->video;
  const std::string& source = fromAudio ? files.audio : files.video;
  // If a manifest specifies the segments, the top level is read only as far as needed.
  const bool readAll = !segments.hasSegmentList && !segments.hasSegmentBase;
  if (const std::uint32_t result = openSource(source.c_str(), readAll); result != VL_OK) return result;
  if (const std::uint32_t result = describeTracks(manifest); result != VL_OK) return result;
  m_index = std::make_unique<FragmentIndex>(*m_stream, m_root.get(), m_tracks, m_nominalRate);
  for (const std::uint64_t offset : segments.indexOffsets) m_index->AddFragmentsAt(offset);
  if (m_index->empty() && m_index->Build() < 0) return VL_FAILED;
  if (const std::uint32_t result = positionReaders(); result != VL_OK) return result;
  for (const auto& track : m_audioTracks) track->openDecoder();
  if (!audioOnly && files.audio != source) openCompanion(files.audio);
  completeDescription();
  qvrInfoSet(this, &m_info);
  return VL_OK;
}

std::uint32_t CMFFmp4::openSource(const char* path, bool readAll) {
  m_stream = std::make_unique<Mp4Stream>();
  const VLHANDLE handle = m_stream->open(path, MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) {
    messages::reportError(messages::kCannotOpenFile);
    return VL_FAILED;
  }
  m_handle = handle;
  m_root.reset(Mp4ReadRoot(*m_stream, readAll));
  if (!m_root) {
    messages::reportError(messages::kNoFileRoot);
    return VL_FAILED;
  }
  return VL_OK;
}

// Describes the source from its tracks, and from the manifest where the tracks lack information.
std::uint32_t CMFFmp4::describeTracks(const std::optional<Manifest>& manifest) {
  m_nominalRate = {};
  if (manifest) {
    if (manifest->width) m_video.bitmap.width = static_cast<std::int32_t>(*manifest->width);
    if (manifest->height) m_video.bitmap.height = static_cast<std::int32_t>(*manifest->height);
    if (manifest->audioSamplingRate) m_audio.wave.samplesPerSecond = *manifest->audioSamplingRate;
  }
  if (const std::uint32_t result = setUpTracks(); result != VL_OK) return result;
  if (!hasVideo() && m_streams.empty()) {
    messages::reportError(messages::kNoTracks);
    return VL_FAILED;
  }
  if (!m_nominalRate.known() && manifest) m_nominalRate = manifest->frameRate;
  if (!m_nominalRate.known() && !hasVideo()) m_nominalRate = kDefaultFrameRate;
  if (!describeFrameRate()) {
    messages::reportError(messages::kNoFrameRate);
    return VL_FAILED;
  }
  return VL_OK;
}

// Opens an audio file in an object of its own, with the arguments of this object's open. Null on failure.
std::unique_ptr<CMFFmp4> CMFFmp4::openAudioFile(const std::string& path) const {
  auto file = std::make_unique<CMFFmp4>(kFileTypeCode);
  const std::uint32_t result = file->Open(path.c_str(), m_access, m_share, m_security, m_creation,
                                          m_attributes, m_openFlags | MF_OPEN_AUDIO_ONLY);
  if (result != VL_OK) file.reset();
  return file;
}

// Audio in a separate file is read through an object of its own; if that fails, the video opens alone.
void CMFFmp4::openCompanion(const std::string& path) {
  if (path.empty()) return;
  auto companion = openAudioFile(path);
  if (!companion) return;
  m_audioMask = companion->m_audioMask;
  m_audio = companion->m_audio;
  m_companion = std::move(companion);
}

std::uint32_t CMFFmp4::positionReaders() {
  if (hasVideo() && positionOnFirstChunk(*m_index, kVideoTrack, m_videoCursor) < 0) {
    messages::reportError(messages::kNoFirstVideoChunk);
    return VL_FAILED;
  }
  if (m_tracks[kCc608Track].present()) {
    if (positionOnFirstChunk(*m_index, kCc608Track, m_cc608.cursor) < 0) {
      messages::reportError(messages::kNoFirst608Chunk);
    } else {
      m_cc608.ccBaseFrame = FrameOfDecodeTime(*m_index, m_cc608.cursor);
    }
  }
  if (m_tracks[kCc708Track].present() && positionOnFirstChunk(*m_index, kCc708Track, m_cc708Cursor) < 0) {
    messages::reportError(messages::kNoFirst708Chunk);
  }
  // Audio may start late or, if only declared, never: any first fragment is sufficient.
  TrackCursor audio = MakeTrackCursor(m_tracks[kAudioTrack]);
  if (m_tracks[kAudioTrack].present() &&
      LoadFragment(*m_index, m_index->nextOccupied(0), 0, false, audio) < 0) {
    messages::reportError(messages::kNoFirstAudioChunk);
    return VL_FAILED;
  }
  return VL_OK;
}
