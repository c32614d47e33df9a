// "tfdt": the decode time of a track fragment (ISO/IEC 14496-12, 8.8.12).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct TrackFragmentDecodeTimeBox final : Mp4FullBox {
  std::uint64_t baseMediaDecodeTime = 0;  // ticks

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32or64("baseMediaDecodeTime", baseMediaDecodeTime, version == 1);
  }
};

}  // namespace fmp4::mp4
