// The AC-3 decoder: sync frames of ATSC A/52, bsid 0 to 10, to interleaved 16-bit PCM.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/base_codec.h"

namespace UMC {

namespace ac3 {
struct DecoderState;
}  // namespace ac3

class AC3Decoder : public RuntimeClass<AC3Decoder, AudioCodec> {
 public:
  static const char* ClassName() { return "AC3Decoder"; }

  AC3Decoder() = default;
  ~AC3Decoder() override;

  // Initialises the decoder with the options in the parameters, or with default ones. -995 if the parameters
  // are not AC3DecoderParams, -883 no memory.
  Status Init(BaseCodecParams* params) override;
  // Decodes one sync frame: 1536 PCM frames with the channels selected by the options, in the order left,
  // right, centre, low frequency effects, left surround (or the only one), right surround. They are written
  // at the output's data pointer and become its data. The bytes used are consumed, including any before the
  // sync word. The output receives the input's start time, or the previous frame's end if that is -1, and its
  // end time. 4: a damaged frame, output as silence. -995 null arguments or buffers, -998 before Init, -996
  // not enough input for a frame, -879 a frame of an unsupported bit stream version (bsid above 10; consumed
  // up to the next frame), -896 not enough space for the output: nothing is consumed, and a damaged frame
  // resets the decoder.
  Status GetFrame(MediaData* input, MediaData* output) override;
  // Describes both streams and, if the parameters are AC3StreamParams, the header fields of the last good
  // frame. 3 before the first good frame, -995 if the parameters are not AudioCodecParams, -998 before Init.
  Status GetInfo(BaseCodecParams* params) override;
  // Frees the memory; returns 0.
  Status Close() override;
  // Resets the signal and its time but keeps the options. -998 before Init.
  Status Reset() override;
  // Adopts the options, each individually and only if it is within its range. -995 if the parameters are not
  // AC3DecoderParams, -998 before Init.
  Status SetParams(BaseCodecParams* params) override;

 private:
  class Locked;

  Status AllocateState();

  MemoryId m_stateId = 0;
};

}  // namespace UMC
