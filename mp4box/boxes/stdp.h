// "stdp": degradation priorities (ISO/IEC 14496-12, 8.5.3), one per sample of the track.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct DegradationPriorityBox final : Mp4FullBox {
  std::vector<std::uint16_t> priorities;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.entries("entry", priorities, Mp4Fields::kToTheEnd, 2,
              [&f](std::uint16_t& value) { f.u16("priority", value); });
  }
};

}  // namespace fmp4::mp4
