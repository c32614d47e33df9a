// "hmhd": the hint media header (ISO/IEC 14496-12, 12.4.3).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct HintMediaHeaderBox final : Mp4FullBox {
  std::uint16_t maxPduSize = 0;  // bytes
  std::uint16_t avgPduSize = 0;  // bytes
  std::uint32_t maxBitrate = 0;  // bits per second
  std::uint32_t avgBitrate = 0;  // bits per second

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u16("maxPDUsize", maxPduSize);
    f.u16("avgPDUsize", avgPduSize);
    f.u32("maxbitrate", maxBitrate);
    f.u32("avgbitrate", avgBitrate);
    f.reserved(4);
  }
};

}  // namespace fmp4::mp4
