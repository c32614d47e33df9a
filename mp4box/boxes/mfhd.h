// "mfhd": the movie fragment header (ISO/IEC 14496-12, 8.8.5).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct MovieFragmentHeaderBox final : Mp4FullBox {
  std::uint32_t sequenceNumber = 0;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("sequence_number", sequenceNumber);
  }
};

}  // namespace fmp4::mp4
