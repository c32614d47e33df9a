// A decoder's output options.
#pragma once

#include <cstdint>

#include "audio/umc/ac3/bit_stream_information.h"
#include "audio/umc/codec_params.h"

namespace UMC::ac3 {

struct OutputOptions {
  std::int32_t option1 = 0;
  std::int32_t mode = 0;  // an audio coding mode; 8 is equivalent to 7
  std::int32_t lfe = 0;
  std::int32_t option4 = 0;
  std::int32_t option5 = 3;
  std::int32_t option6 = 0;
  float scale1 = 1;
  float scale2 = 1;
  float gain = 1;

  // The audio coding mode of the output.
  [[nodiscard]] int CodingMode() const { return mode == 8 ? 7 : mode; }
  [[nodiscard]] int Channels() const { return kFullChannels[CodingMode()] + lfe; }
};

// Adopts the options that are within their ranges.
void ApplyOptions(const AC3DecoderParams& params, OutputOptions& options);

}  // namespace UMC::ac3
