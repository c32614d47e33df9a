// "mfro": the size of the movie fragment random access box (ISO/IEC 14496-12, 8.8.11).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct MovieFragmentRandomAccessOffsetBox final : Mp4FullBox {
  std::uint32_t size = 0;  // bytes of the enclosing "mfra"

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("size", size);
  }
};

}  // namespace fmp4::mp4
