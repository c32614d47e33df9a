// Closing a source.
#include "fmp4_object.h"
#include "qvrutil.h"

std::uint32_t CMFFmp4::Close() {
  qvrInfoDelete(this);
  m_setClose();
  m_companion.reset();
  m_companionState = {};
  m_videoCursor = {};
  m_videoState = {};
  m_cc608 = {};
  m_cc608SoughtFrame = QVR_NOT_SET;
  m_cc708Cursor = {};
  m_index.reset();
  m_root.reset();
  m_stream.reset();
  m_handle = VL_NO_HANDLE;
  m_tracks = {};
  m_audioMask = 0;
  m_videoChannels = 0;
  m_nominalRate = kDefaultFrameRate;
  resetDescription();
  return VL_OK;
}
