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

  // Makes a decoder, with the options of the parameters where any are given, else with the default ones. -995
  // for parameters that are no AC3DecoderParams, -883 no memory.
  Status Init(BaseCodecParams* params) override;
  // Decodes one sync frame: 1536 sample frames of as many channels as the options tell, in the order left,
  // right, centre, low frequency effects, left surround (or the only one), right surround. They go to the
  // output's data pointer and become its data. The bytes used are consumed, with what precedes a sync word.
  // The output gets the input's start time, or where that is -1 the end of the frame before, and its end.
  // 4: a damaged frame, delivered as silence. -995 null arguments or buffers, -998 before Init, -996 not
  // enough input for a frame, -879 a frame of a bit stream version that is not served (bsid above 10;
  // consumed up to the next frame), -896 no room for the output: nothing is consumed then, and a damaged
  // frame resets the decoder.
  Status GetFrame(MediaData* input, MediaData* output) override;
  // Describes both streams, and what the last good frame says of itself where the parameters are
  // AC3StreamParams. 3 before the first good frame, -995 for parameters that are no AudioCodecParams, -998
  // before Init.
  Status GetInfo(BaseCodecParams* params) override;
  // Gives the memory back; returns 0.
  Status Close() override;
  // Forgets the signal and its time, keeping the options. -998 before Init.
  Status Reset() override;
  // Takes over the options, each on its own and only where it lies in its range. -995 for parameters that
  // are no AC3DecoderParams, -998 before Init.
  Status SetParams(BaseCodecParams* params) override;

 private:
  class Locked;

  Status AllocateState();

  MemoryId m_stateId = 0;
};

}  // namespace UMC
