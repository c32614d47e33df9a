// "smhd": the sound media header (ISO/IEC 14496-12, 12.2.2).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct SoundMediaHeaderBox final : Mp4FullBox {
  std::int16_t balance = 0;  // 8.8, -1.0 (left) to 1.0 (right)

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.i16("balance", balance);
    f.reserved(2);
  }
};

}  // namespace fmp4::mp4
