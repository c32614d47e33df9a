// The way from a stream's channels to those asked for (ISO/IEC 14496-3, 4.5.1.2.2).
#pragma once

#include "base/aac/layout.h"

namespace UMC::aac {

// Gains by output channel and stream channel.
struct MixMatrix {
  int outputs;
  float gains[kMaxChannels][kMaxChannels];
};

// The matrix for `outputs` channels, 1 to kMaxChannels. As many as the layout has: the channels themselves in
// the order of output. Mono goes to both of two. Fewer than the layout has: those that are missing are
// folded into their neighbours by the standard's rule (low frequency effects are left out), and all is
// scaled so that full scale is not exceeded. More: the others stay silent.
MixMatrix MakeMixMatrix(const Layout& layout, int outputs);

}  // namespace UMC::aac
