// Finds sync frames in a byte stream and decodes them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/ac3/ac3_state.h"
#include "audio/umc/status.h"

namespace UMC::ac3 {

// One call's input and output buffer.
struct FrameRequest {
  const std::uint8_t* input;
  std::size_t inputSize;
  std::uint8_t* output;  // no particular alignment
  std::size_t outputSize;
  std::size_t consumed;  // input bytes, set whatever the result
};

// Bytes of a frame's PCM.
std::size_t FrameBytes(const DecoderState& state);

// Decodes one frame, or outputs silence for a damaged one (4). A frame is damaged if a checksum fails, if its
// syntax is invalid, or if there is no sync word where the previous frame ended.
Status DecodeFrame(DecoderState& state, FrameRequest& request);

// Adopts the options that are within their ranges. A change of output channels resets the overlap.
void SetOptions(const AC3DecoderParams& params, DecoderState& state);

// Resets the signal and its time.
void ResetHistory(DecoderState& state);

}  // namespace UMC::ac3
