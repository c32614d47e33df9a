// The downmix of a stream's channels to the requested ones (ISO/IEC 14496-3, 4.5.1.2.2).
#pragma once

#include "base/aac/layout.h"

namespace UMC::aac {

// Gains by output channel and stream channel.
struct MixMatrix {
  int outputs;
  float gains[kMaxChannels][kMaxChannels];
};

// The matrix for `outputs` channels, 1 to kMaxChannels. With as many as the layout has, the channels
// themselves in output order. Mono goes to both channels of a stereo output. With fewer than the layout has,
// the missing channels are folded into their neighbours by the standard's rule (low frequency effects are
// left out), and all is scaled to avoid exceeding full scale. With more, the remaining channels are silent.
MixMatrix MakeMixMatrix(const Layout& layout, int outputs);

}  // namespace UMC::aac
