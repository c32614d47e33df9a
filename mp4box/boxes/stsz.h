// "stsz": sample sizes (ISO/IEC 14496-12, 8.7.3.2).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct SampleSizeBox final : Mp4FullBox {
  std::uint32_t sampleSize = 0;   // bytes, common to all samples; 0: see `entrySizes`
  std::uint32_t sampleCount = 0;  // follows from `entrySizes` unless that is empty
  std::vector<std::uint32_t> entrySizes;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("sample_size", sampleSize);
    if (sampleSize == 0 && !f.reading()) sampleCount = static_cast<std::uint32_t>(entrySizes.size());
    f.u32("sample_count", sampleCount);
    if (sampleSize != 0) return;
    f.words("entry_size", entrySizes, sampleCount);
    sampleCount = static_cast<std::uint32_t>(entrySizes.size());
  }
};

}  // namespace fmp4::mp4
