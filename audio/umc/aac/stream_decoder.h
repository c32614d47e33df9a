// Finding frames in the forms that AAC streams come in, and decoding them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/decoder_memory.h"
#include "audio/umc/status.h"
#include "base/aac/audio_specific_config.h"

namespace UMC::aac {

// One call's input and room for output.
struct FrameRequest {
  const std::uint8_t* input;
  std::size_t inputSize;
  std::uint8_t* output;  // at any address
  std::size_t outputSize;
  std::size_t consumed;  // bytes of the input, set whatever the result
  std::size_t produced;  // bytes of the output
};

// Decodes one frame. Without a form that is known, the input tells it.
Status DecodeFrame(LockedMemory& memory, FrameRequest& request);

// Takes over what the container says about the stream, before its first frame. False for one that is not
// served: its frames will be refused.
bool TakeConfiguration(const AudioSpecificConfig& config, DecoderState& state);

// The same for raw access units, which the caller frames.
bool ConfigureRaw(const AudioSpecificConfig& config, DecoderState& state);

}  // namespace UMC::aac
