// "rmdr": the data rate that a reference movie needs (QuickTime).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ReferenceMovieDataRateBox final : Mp4FullBox {
  std::uint32_t dataRate = 0;  // units of 100 bits per second

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("data_rate", dataRate);
  }
};

}  // namespace fmp4::mp4
