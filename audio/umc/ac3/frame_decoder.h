// Finding sync frames in bytes, and decoding them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/ac3/ac3_state.h"
#include "audio/umc/status.h"

namespace UMC::ac3 {

// One call's input and room for output.
struct FrameRequest {
  const std::uint8_t* input;
  std::size_t inputSize;
  std::uint8_t* output;  // at any address
  std::size_t outputSize;
  std::size_t consumed;  // bytes of the input, set whatever the result
};

// Bytes of a frame's samples.
std::size_t FrameBytes(const DecoderState& state);

// Decodes one frame, or puts out silence for a damaged one (4). A frame is damaged when a checksum does not
// hold, when it says what no stream may say, and when there is no sync word where the frame before ended.
Status DecodeFrame(DecoderState& state, FrameRequest& request);

// Takes over the options that lie in their ranges. Output of other channels begins afresh.
void SetOptions(const AC3DecoderParams& params, DecoderState& state);

// Forgets the signal and its time.
void ForgetSignal(DecoderState& state);

}  // namespace UMC::ac3
