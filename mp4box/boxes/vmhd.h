// "vmhd": the video media header (ISO/IEC 14496-12, 12.1.2).
#pragma once

#include <array>

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct VideoMediaHeaderBox final : Mp4FullBox {
  std::uint16_t graphicsMode = 0;
  std::array<std::uint16_t, 3> opColor = {};  // red, green, blue

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u16("graphicsmode", graphicsMode);
    for (std::uint16_t& value : opColor) f.u16("opcolor", value);
  }
};

}  // namespace fmp4::mp4
