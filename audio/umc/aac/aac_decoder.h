// The AAC decoder: ADTS and ADIF streams, and raw access units described by an AudioSpecificConfig, to
// interleaved 16-bit PCM (ISO/IEC 14496-3, ISO/IEC 13818-7). It supports the object types Main, LC and LTP.
// SSR is decoded with the filter bank of the others and without gain control, whose data are skipped. All
// types may come with SBR and parametric stereo.
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
  // -876 a stream type of UMC_STREAM_AAC_CONFIGURED without a configuration, -899 an invalid configuration,
  // -883 no memory.
  Status Init(BaseCodecParams* params) override;
  // Decodes one frame and appends its samples to the output. The bytes used are consumed, unless parameters
  // configured the stream. 4: decoded, but the checksum does not match. -995 null arguments or buffers, -998
  // before Init, -996 not enough input, -879 unknown stream format, -899 a known but unsupported stream, -883
  // no memory, -881 an invalid frame, -896 a frame whose payload overruns its stated length, or not enough
  // output space. After -881, and after a frame that overruns its length, three bytes are consumed, so that
  // the next call searches for the next frame. If a later block of a multi-block frame is bad, the blocks
  // before it are kept: 4.
  Status GetFrame(MediaData* input, MediaData* output) override;
  // Describes both streams. 3 before the format is known, -995 if the parameters are not AudioCodecParams,
  // -998 before Init.
  Status GetInfo(BaseCodecParams* params) override;
  // Frees the memory; returns 0.
  Status Close() override;
  // Resets the signal and what was learned from it, but keeps the configuration. -998 before Init.
  Status Reset() override;
  // Reports that the next block is lost: decoding restarts with the block after it, using the SBR headers
  // received before. -998 before Init.
  Status PassLostBlock();
  // Sets the number in its track, from 0, of the next block; later blocks count up from it. The SBR noise
  // then depends only on the block numbers, not on where decoding started or what was lost on the way;
  // without numbers its phase counts from the start of the signal. Before block 0 the SBR headers are
  // forgotten, as those received come from later blocks. -998 before Init.
  Status SetBlock(std::uint64_t number);
  // True once the decoder has converged: its output does not depend on blocks before those decoded or lost
  // since Init or Reset, except for an overlap of one block. Predictors, SBR and parametric stereo have
  // longer memories. False before the first block.
  bool Converged();
  // Passes the container's description of access units that follow ADTS headers, between Init and the first
  // frame. It overrides those headers, which contain less: no frame length, only listed frequencies, neither
  // SBR nor parametric stereo, no program. From then on GetInfo can answer. -899 for an unsupported
  // configuration, whose frames are refused; -998 before Init.
  Status SetConfiguration(const aac::AudioSpecificConfig& config);
  // Adopts options and output channels. -995 if the parameters are not AACDecoderParams, -998 before Init.
  Status SetParams(BaseCodecParams* params) override;

 private:
  aac::DecoderMemory m_memory;
};

}  // namespace UMC
