// "stts": decoding time to sample (ISO/IEC 14496-12, 8.6.1.2).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct TimeToSampleBox final : Mp4FullBox {
  struct Entry {
    std::uint32_t sampleCount = 0;
    std::uint32_t sampleDelta = 0;  // ticks
  };
  std::vector<Entry> entries;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    auto count = static_cast<std::uint32_t>(entries.size());
    f.u32("entry_count", count);
    f.entries("entry", entries, count, 8, [&f](Entry& entry) {
      f.u32("sample_count", entry.sampleCount);
      f.u32("sample_delta", entry.sampleDelta);
    });
  }
};

}  // namespace fmp4::mp4
