#include "audio/umc/aac/decoder_options.h"

namespace UMC::aac {

void ApplyOptions(const AACDecoderParams& params, DecoderOptions& options) {
  options.layer = params.m_layer;
  const bool modeKnown = params.m_sbrMode == 18 || params.m_sbrMode == 28;
  const bool flagKnown = params.m_sbrDownSampled == 0 || params.m_sbrDownSampled == 1;
  if (!modeKnown || !flagKnown) return;
  options.sbrMode = params.m_sbrMode;
  options.sbrDownSampled = params.m_sbrDownSampled;
  options.sbrLevel = params.m_sbrLevel;
  switch (params.m_stereoExtensionLevel) {
    case 111:
    case 411:
      options.sbrMode = 18;
      options.sbrDownSampled = 0;
      [[fallthrough]];
    case 1:
      options.stereoExtensionLevel = params.m_stereoExtensionLevel;
      break;
    default:
      options.stereoExtensionLevel = 0;
  }
}

}  // namespace UMC::aac
