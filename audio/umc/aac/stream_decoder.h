// Finding frames in the forms that AAC streams come in, and decoding them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder_state.h"
#include "sbr_decoder.h"
#include "status.h"

namespace UMC::aac {

// One call's input and room for output.
struct FrameRequest {
  const std::uint8_t* input;
  std::size_t inputSize;
  std::uint8_t* output;  // at any address
  std::size_t outputSize;
  SbrArea* sbr;          // where spectral band replication is kept
  std::size_t consumed;  // bytes of the input, set whatever the result
  std::size_t produced;  // bytes of the output
};

// Decodes one frame. Without a form that is known, the input tells it.
Status DecodeFrame(DecoderState& state, WorkArea& work, FrameRequest& request);

// Whether access units of the audio object type can be decoded.
bool IsServed(int objectType);

// Prepares the state for raw access units of a configuration. False for one that is not served.
bool Configure(const AudioSpecificConfig& config, DecoderState& state);

}  // namespace UMC::aac
