// Opening a source for reading.
#include "file_set.h"
#include "fmp4_object.h"
#include "guard.h"
#include "messages.h"
#include "qvrutil.h"
#include "seek.h"

namespace {

// Stands a cursor at the first sample of its track, without its bytes. Returns 0 or -1.
int positionOnFirstChunk(FragmentIndex& index, TrackRole role, TrackCursor& cursor) {
  cursor = MakeTrackCursor(index.track(role));
  if (LoadFragment(index, index.nextOccupied(0), 0, false, cursor) < 0) return -1;
  return AdvanceRun(index, false, cursor) == Advance::Ready ? 0 : -1;
}

}  // namespace

std::uint32_t CMFFmp4::Open(const char* fileName, std::uint32_t access, std::uint32_t share, void* security,
                            std::uint32_t creation, std::uint32_t attributes, std::uint32_t openFlags) {
  Close();
  const std::uint32_t noted = m_setOpen(fileName, access, share, security, creation, attributes, openFlags);
  if (noted != VL_OK) return noted;
  if (m_fCreateFile()) return VL_E_NOT_SUPPORTED;
  const std::uint32_t result = guarded(VL_FAILED, [this] { return openRead(); });
  if (result != VL_OK) Close();
  return result;
}

std::uint32_t CMFFmp4::openRead() {
  const bool audioOnly = (m_openFlags & MF_OPEN_AUDIO_ONLY) != 0;
  const FileSet files = FindFileSet(m_fileName, audioOnly);
  const std::string& source = audioOnly || files.video.empty() ? files.audio : files.video;
  if (const std::uint32_t result = openSource(source.c_str()); result != VL_OK) return result;
  m_nominalRate = {};
  if (const std::uint32_t result = setUpTracks(); result != VL_OK) return result;
  if (!hasVideo() && m_streams.empty()) {
    messages::reportError(messages::kNoTracks);
    return VL_FAILED;
  }
  if (!hasVideo()) m_nominalRate = kDefaultFrameRate;
  if (!describeFrameRate()) {
    messages::reportError(messages::kNoFrameRate);
    return VL_FAILED;
  }
  m_index = std::make_unique<FragmentIndex>(*m_stream, m_root.get(), m_tracks, m_nominalRate);
  if (m_index->Build() < 0) return VL_FAILED;
  if (const std::uint32_t result = positionReaders(); result != VL_OK) return result;
  completeDescription();
  qvrInfoSet(this, &m_info);
  return VL_OK;
}

std::uint32_t CMFFmp4::openSource(const char* path) {
  m_stream = std::make_unique<Mp4Stream>();
  const VLHANDLE handle = m_stream->open(path, MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) {
    messages::reportError(messages::kCannotOpenFile);
    return VL_FAILED;
  }
  m_handle = handle;
  m_root.reset(Mp4ReadRoot(*m_stream, true));
  if (!m_root) {
    messages::reportError(messages::kNoFileRoot);
    return VL_FAILED;
  }
  return VL_OK;
}

std::uint32_t CMFFmp4::positionReaders() {
  if (hasVideo() && positionOnFirstChunk(*m_index, kVideoTrack, m_videoCursor) < 0) {
    messages::reportError(messages::kNoFirstVideoChunk);
    return VL_FAILED;
  }
  return VL_OK;
}
