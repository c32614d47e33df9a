// Audio data with a description of its format.
#pragma once

#include <cstdint>

#include "audio/umc/audio_stream_info.h"
#include "audio/umc/media_data.h"

namespace UMC {

class AudioData : public RuntimeClass<AudioData, MediaData> {
 public:
  using RuntimeClass::RuntimeClass;
  static const char* ClassName() { return "AudioData"; }

  // Format of the samples, as set by the decoder of the last frame; fields it does not know are unchanged.
  AudioStreamInfo m_info;
  std::uint32_t m_isSigned = 0;  // 1: the samples are signed integers
};

}  // namespace UMC
