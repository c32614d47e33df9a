// Parameters passed to codecs in Init and SetParams, and returned by GetInfo.
#pragma once

#include <cstdint>

#include "audio/umc/audio_stream_info.h"
#include "audio/umc/media_data.h"
#include "audio/umc/memory_allocator.h"
#include "audio/umc/runtime_class.h"

namespace UMC {

class BaseCodecParams : public RuntimeClass<BaseCodecParams> {
 public:
  static const char* ClassName() { return "BaseCodecParams"; }

  MediaData* m_configuration = nullptr;  // decoder configuration, not owned; for AAC the AudioSpecificConfig
  MemoryAllocator* m_allocator = nullptr;  // not owned; null: the codec makes its own
  std::uint32_t m_reserved[5] = {};
};

class AudioCodecParams : public RuntimeClass<AudioCodecParams, BaseCodecParams> {
 public:
  static const char* ClassName() { return "AudioCodecParams"; }

  AudioStreamInfo m_input;
  AudioStreamInfo m_output;
  std::uint32_t m_frameCount = 0;
  std::uint32_t m_reservedAudio[2] = {};
};

class AACDecoderParams : public RuntimeClass<AACDecoderParams, AudioCodecParams> {
 public:
  static const char* ClassName() { return "AACDecoderParams"; }

  std::int32_t m_sbrMode = 18;
  std::int32_t m_sbrDownSampled = 1;
  std::int32_t m_sbrLevel = 777;
  std::int32_t m_stereoExtensionLevel = 0;
  std::int32_t m_layer = -1;
};

class AC3DecoderParams : public RuntimeClass<AC3DecoderParams, AudioCodecParams> {
 public:
  static const char* ClassName() { return "AC3DecoderParams"; }

  std::int32_t m_option1 = 0;
  std::int32_t m_outputMode = 0;  // audio coding mode of the output (ATSC A/52, 5.4.2.3)
  std::int32_t m_outputLfe = 0;
  std::int32_t m_option4 = 0;
  std::int32_t m_option5 = 3;
  std::int32_t m_option6 = 0;
  float m_scale1 = 1.0f;
  float m_scale2 = 1.0f;
  float m_gain = 1.0f;
};

// What GetInfo returns about an AC-3 stream besides its format: header fields (ATSC A/52, 5.4.2).
class AC3StreamParams : public RuntimeClass<AC3StreamParams, AudioCodecParams> {
 public:
  static const char* ClassName() { return "AC3StreamParams"; }

  std::uint32_t m_version = 0;       // bsid
  std::uint32_t m_serviceType = 0;   // bsmod
  std::uint32_t m_codingMode = 0;    // acmod
  std::uint32_t m_lfe = 0;           // lfeon
  std::uint32_t m_surroundMode = 0;  // dsurmod; 0 for coding modes other than 2/0
  std::uint32_t m_dialogueLevels[2] =
      {};  // dialnorm, dB below full scale, by programme; 0 where it is absent
};

}  // namespace UMC
