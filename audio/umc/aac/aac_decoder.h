// The AAC decoder: ADTS and ADIF streams, and raw access units that an AudioSpecificConfig describes, to
// interleaved 16-bit PCM (ISO/IEC 14496-3, ISO/IEC 13818-7). It serves the object types Main, LC and LTP, and
// SSR by the filter bank of the others: without gain control, whose data it passes over. All come with or
// without spectral band replication and parametric stereo.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/umc/aac/decoder_memory.h"
#include "audio/umc/base_codec.h"

namespace UMC {

namespace aac {
struct AudioSpecificConfig;
}  // namespace aac

class AACDecoder : public RuntimeClass<AACDecoder, AudioCodec> {
 public:
  static const char* ClassName() { return "AACDecoder"; }

  AACDecoder() = default;
  ~AACDecoder() override;

  // Takes the stream's description, options and output channels from the parameters. -995 null parameters,
  // -876 a stream type of UMC_STREAM_AAC_CONFIGURED without a configuration, -899 a configuration that is
  // not understood, -883 no memory.
  Status Init(BaseCodecParams* params) override;
  // Decodes one frame and appends its samples to the output. The bytes used are consumed, unless parameters
  // configured the stream. 4: decoded, but the checksum does not match. -995 null arguments or buffers, -998
  // before Init, -996 not enough input, -879 no known stream form, -899 a stream that is known but not
  // served, -883 no memory, -881 a frame that cannot be right, -896 a frame that goes on after its end, or
  // no room for the output. After the last but one, and where a frame goes on after its end, three bytes are
  // consumed, so that the next call looks for the next frame. A frame of several blocks keeps those before
  // a bad one: 4.
  Status GetFrame(MediaData* input, MediaData* output) override;
  // Describes both streams. 3 before the format is known, -995 for parameters that are no AudioCodecParams,
  // -998 before Init.
  Status GetInfo(BaseCodecParams* params) override;
  // Gives the memory back; returns 0.
  Status Close() override;
  // Forgets the signal and what was learnt from it, keeping the configuration. -998 before Init.
  Status Reset() override;
  // Tells that the next block is lost: the one after it starts anew, by the headers of spectral band
  // replication that were there before. -998 before Init.
  Status PassLostBlock();
  // Tells the number in its track, from 0, of the block that comes next. The noise of spectral band
  // replication then depends on the blocks' numbers alone, not on where decoding started or what was lost on
  // the way; else it goes on from where the signal starts. Those that follow count on. -998 before Init.
  Status SetBlock(std::uint64_t number);
  // True when the signal does not depend on blocks before those decoded or lost since Init or Reset, but for
  // an overlap of one block: predictors, spectral band replication and parametric stereo remember more. False
  // before the first of them.
  bool Settled();
  // Tells, between Init and the first frame, what the container says about access units that follow ADTS
  // headers. It counts for all that the headers say as well, and they say less: no frame length, no frequency
  // but the listed ones, neither spectral band replication nor parametric stereo, no program. GetInfo can
  // answer from then on. -899 for what is not served, whose frames are refused; -998 before Init.
  Status SetConfiguration(const aac::AudioSpecificConfig& config);
  // Takes over options and output channels. -995 for parameters that are no AACDecoderParams, -998 before
  // Init.
  Status SetParams(BaseCodecParams* params) override;

 private:
  aac::DecoderMemory m_memory;
};

}  // namespace UMC
