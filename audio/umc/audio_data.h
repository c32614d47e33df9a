// Media bytes that are sound, with the description of their format.
#pragma once

#include "audio_stream_info.h"
#include "media_data.h"

namespace UMC {

class AudioData : public RuntimeClass<AudioData, MediaData> {
 public:
  using RuntimeClass::RuntimeClass;
  static const char* ClassName() { return "AudioData"; }

  AudioStreamInfo m_info;  // set by a decoder with every frame
};

}  // namespace UMC
