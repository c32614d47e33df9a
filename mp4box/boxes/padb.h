// "padb": padding bits (ISO/IEC 14496-12, 8.7.6).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct PaddingBitsBox final : Mp4FullBox {
  std::uint32_t sampleCount = 0;
  // Two samples per byte, the first in the high half: a reserved bit and the number of padding bits (0 to 7).
  std::vector<std::uint8_t> pads;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("sample_count", sampleCount);
    f.blob("pad", pads, (std::uint64_t{sampleCount} + 1) / 2);
    // Limited to the samples that the pads cover.
    if (pads.size() < (std::uint64_t{sampleCount} + 1) / 2)
      sampleCount = static_cast<std::uint32_t>(2 * pads.size());
  }
};

}  // namespace fmp4::mp4
