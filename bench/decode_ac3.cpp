// Decodes an AC-3 file to raw 16-bit stereo PCM.
// Usage: decode_ac3 IN.ac3 [OUT.pcm]
#include "audio/umc/ac3/ac3_decoder.h"
#include "bench/decode_file.h"

using namespace fmp4;

int main(int count, char** arguments) {
  UMC::AC3Decoder decoder;
  UMC::AC3DecoderParams params;
  return DecodeFile(decoder, params, count, arguments);
}
