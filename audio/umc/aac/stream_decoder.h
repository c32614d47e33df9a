// Finds the frames in the stream formats of AAC and decodes them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/decoder_memory.h"
#include "audio/umc/status.h"
#include "base/aac/audio_specific_config.h"

namespace UMC::aac {

// One call's input and output buffer.
struct FrameRequest {
  const std::uint8_t* input;
  std::size_t inputSize;
  std::uint8_t* output;  // no particular alignment
  std::size_t outputSize;
  std::size_t consumed;  // input bytes, set whatever the result
  std::size_t produced;  // output bytes
};

// Decodes one frame. If the stream format is unknown, it is detected from the input.
Status DecodeFrame(LockedMemory& memory, FrameRequest& request);

// Adopts the container's description of the stream, before its first frame. False if it is unsupported: its
// frames will be refused.
bool TakeConfiguration(const AudioSpecificConfig& config, DecoderState& state);

// The same for raw access units, supplied by the caller one at a time.
bool ConfigureRaw(const AudioSpecificConfig& config, DecoderState& state);

}  // namespace UMC::aac
