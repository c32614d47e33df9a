// A decoder's options for SBR and parametric stereo.
#pragma once

#include <cstdint>

#include "audio/umc/codec_params.h"

namespace UMC::aac {

struct DecoderOptions {
  std::int32_t sbrMode = 18;  // 28 requests low power, but is decoded like 18, in high quality
  std::int32_t sbrDownSampled = 1;
  std::int32_t sbrLevel = 777;
  std::int32_t stereoExtensionLevel = 0;
  std::int32_t layer = -1;
};

// Adopts the valid options: the layer always; the others together, only if the mode is 18 or 28 and the flag
// 0 or 1. The stereo extension levels 111 and 411 force mode 18 and flag 0; levels other than these, 0 and 1
// are treated as 0.
void ApplyOptions(const AACDecoderParams& params, DecoderOptions& options);

}  // namespace UMC::aac
