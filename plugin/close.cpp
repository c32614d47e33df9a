// Closes a source or a recording.
#include "base/guard.h"
#include "plugin/fmp4_object.h"
#include "qvrutil.h"

std::uint32_t CMFFmp4::Close() {
  qvrInfoDelete(this);
  m_setClose();
  const bool whole = guarded(false, [this] { return finishRecording(); });
  m_companion.reset();
  m_videoRecording.reset();
  m_audioRecording.reset();
  m_manifest.reset();
  m_videoPath.clear();
  for (const auto& track : m_audioTracks) track->closeDecoder();
  m_audioTracks.clear();
  m_videoCursor = {};
  m_videoNextExpected = QVR_NOT_SET;
  m_cc608 = {};
  m_cc608SeekFrame = QVR_NOT_SET;
  m_cc708Cursor = {};
  m_index.reset();
  m_root.reset();
  m_stream.reset();
  m_handle = VL_NO_HANDLE;
  m_tracks = {};
  m_audioMask = 0;
  m_videoChannels = 0;
  m_nominalRate = kDefaultFrameRate;
  m_keyFrameInterval = kDefaultKeyFrameInterval;
  resetDescription();
  return whole ? VL_OK : VL_FAILED;
}

// Audio first: the manifest must list its last segment before the video saves it.
bool CMFFmp4::finishRecording() {
  bool whole = true;
  if (m_companion) whole = m_companion->Close() == VL_OK;
  if (m_videoRecording) whole = m_videoRecording->Finish() && whole;
  if (m_audioRecording) whole = m_audioRecording->Finish() && whole;
  return whole;
}
