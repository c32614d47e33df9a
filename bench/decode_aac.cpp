// Decodes an ADTS file to raw 16-bit PCM.
// Usage: decode_aac IN.aac [OUT.pcm]
#include "audio/umc/aac/aac_decoder.h"
#include "bench/decode_file.h"

using namespace fmp4;

int main(int count, char** arguments) {
  UMC::AACDecoder decoder;
  UMC::AACDecoderParams params;
  params.m_sbrDownSampled = 0;
  return DecodeFile(decoder, params, count, arguments);
}
