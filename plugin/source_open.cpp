// Opens a source: finds its files, sets up its tracks and the index, and seeks to the first samples.
#include <utility>

#include "plugin/fmp4_object.h"
#include "plugin/messages.h"
#include "plugin/source.h"
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

Source::Source(HostView host) : m_host(std::move(host)) {}

Source::~Source() {
  m_companion.reset();
  for (const auto& track : m_audioTracks) track->closeDecoder();
}

std::uint32_t Source::open(const char* fileName, std::uint32_t openFlags) {
  m_openFlags = openFlags;
  const bool audioOnly = (openFlags & MF_OPEN_AUDIO_ONLY) != 0;
  FileSet files = FindFileSet(fileName, audioOnly);
  const std::optional<Manifest> manifest = LoadManifest(files);
  // Without a video file the audio file is the main one.
  const bool fromAudio = audioOnly || files.video.empty();
  const ManifestTrack segments = !manifest ? ManifestTrack{} : fromAudio ? manifest->audio : manifest->video;
  const std::string& source = fromAudio ? files.audio : files.video;
  // If a manifest specifies the segments, the top level is read only as far as needed.
  const bool readAll = !segments.hasSegmentList && !segments.hasSegmentBase;
  if (const std::uint32_t result = openFile(source.c_str(), readAll); result != VL_OK) return result;
  if (const std::uint32_t result = describeTracks(manifest); result != VL_OK) return result;
  m_index.emplace(m_stream, m_root.get(), m_tracks, m_nominalRate);
  for (const std::uint64_t offset : segments.indexOffsets) m_index->AddFragmentsAt(offset);
  if (m_index->empty() && m_index->Build() < 0) return VL_FAILED;
  if (const std::uint32_t result = positionReaders(); result != VL_OK) return result;
  for (const auto& track : m_audioTracks) track->openDecoder();
  if (!audioOnly && files.audio != source) m_companionPath = files.audio;
  return VL_OK;
}

std::uint32_t Source::openFile(const char* path, bool readAll) {
  const VLHANDLE handle = m_stream.open(path, MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) {
    messages::reportError(messages::kCannotOpenFile);
    return VL_FAILED;
  }
  m_handle = handle;
  m_root.reset(Mp4ReadRoot(m_stream, readAll));
  if (!m_root) {
    messages::reportError(messages::kNoFileRoot);
    return VL_FAILED;
  }
  return VL_OK;
}

std::uint32_t Source::positionReaders() {
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

void Source::join(std::unique_ptr<CMFFmp4> companion) {
  const HostView audio = companion->host();
  m_host.audioMask = audio.audioMask;
  m_host.audio = audio.audio;
  m_companion = std::move(companion);
}
