// Media bytes that are sound, with the description of their format.
#pragma once

#include <cstdint>

#include "audio/umc/audio_stream_info.h"
#include "audio/umc/media_data.h"

namespace UMC {

class AudioData : public RuntimeClass<AudioData, MediaData> {
 public:
  using RuntimeClass::RuntimeClass;
  static const char* ClassName() { return "AudioData"; }

  // Of the samples, as the decoder of the last frame has set it: what it does not know stays.
  AudioStreamInfo m_info;
  std::uint32_t m_isSigned = 0;  // 1: the samples are signed integers
};

}  // namespace UMC
