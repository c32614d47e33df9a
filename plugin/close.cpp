// Closes the media-file object.
#include "base/guard.h"
#include "plugin/fmp4_object.h"
#include "plugin/recorder.h"
#include "plugin/source.h"
#include "qvrutil.h"

namespace fmp4 {

std::uint32_t CMFFmp4::Close() {
  qvrInfoDelete(this);
  m_setClose();
  const bool complete = guarded(false, [this] { return !m_recorder || m_recorder->finish(); });
  m_source.reset();
  m_recorder.reset();
  m_recordingOptions = {};
  m_handle = VL_NO_HANDLE;
  m_audioMask = 0;
  m_videoChannels = 0;
  host().resetDescriptions();
  return complete ? VL_OK : VL_FAILED;
}

}  // namespace fmp4
