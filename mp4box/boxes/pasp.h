// "pasp": the pixel aspect ratio (ISO/IEC 14496-12, 12.1.4).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct PixelAspectRatioBox final : Mp4Payload {
  std::uint32_t hSpacing = 0;
  std::uint32_t vSpacing = 0;

  void fields(Mp4Fields& f) override {
    f.u32("hSpacing", hSpacing);
    f.u32("vSpacing", vSpacing);
  }
};

}  // namespace fmp4::mp4
