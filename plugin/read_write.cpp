// Passes the host's requests for samples to the source or the recorder.
#include "base/guard.h"
#include "plugin/fmp4_object.h"
#include "plugin/recorder.h"
#include "plugin/source.h"

namespace fmp4 {

std::uint32_t CMFFmp4::Read(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask,
                            std::uint32_t mode, DFRAME* descriptor, void* extra) {
  switch (mode & 0xFF) {
    case QVR_MODE_VIDEO:
      if (!m_source) return descriptor ? VL_FAILED : 0;
      return guarded(VL_FAILED,
                     [&] { return m_source->readVideo(frame, count, channelMask, mode, descriptor); });
    case QVR_MODE_AUDIO:
      return guarded(VL_FAILED, [&] {
        return m_source ? m_source->readAudio(frame, count, channelMask, mode, descriptor, extra)
                        : Source::refuseAudio(descriptor);
      });
    default:
      return VL_OK;
  }
}

std::uint32_t CMFFmp4::Write(std::uint32_t frame, std::uint32_t /*count*/, std::uint32_t channelMask,
                             std::uint32_t mode, DFRAME* descriptor, void* /*extra*/) {
  const auto write = [&](Recorder& recorder) {
    switch (mode & 0xFF) {
      case QVR_MODE_VIDEO:
        return recorder.writeVideo(frame, channelMask, descriptor);
      case QVR_MODE_AUDIO:
        return recorder.writeAudio(channelMask, descriptor);
      default:
        return VL_OK;
    }
  };
  return guarded(VL_FAILED, [&] {
    if (m_recorder) return write(*m_recorder);
    // A recorder without files gives each sample its refusal.
    Recorder none(host(), m_recordingOptions);
    return write(none);
  });
}

}  // namespace fmp4
