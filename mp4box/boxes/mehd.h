// "mehd": the movie extends header (ISO/IEC 14496-12, 8.8.2).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct MovieExtendsHeaderBox final : Mp4FullBox {
  std::uint64_t fragmentDuration = 0;  // ticks of the movie's timescale

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32or64("fragment_duration", fragmentDuration, version == 1);
  }
};

}  // namespace fmp4::mp4
