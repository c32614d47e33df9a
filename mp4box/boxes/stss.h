// "stss": sync samples (ISO/IEC 14496-12, 8.6.2).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct SyncSampleBox final : Mp4FullBox {
  std::vector<std::uint32_t> sampleNumbers;  // counted from 1

  void fields(Mp4Fields& f) override {
    fullBox(f);
    auto count = static_cast<std::uint32_t>(sampleNumbers.size());
    f.u32("entry_count", count);
    f.words("sample_number", sampleNumbers, count);
  }
};

}  // namespace fmp4::mp4
