// "ctts": composition time to sample (ISO/IEC 14496-12, 8.6.1.3).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct CompositionOffsetBox final : Mp4FullBox {
  struct Entry {
    std::uint32_t sampleCount = 0;
    std::int64_t sampleOffset = 0;  // ticks, 32 bits: unsigned in version 0, signed in version 1
  };
  std::vector<Entry> entries;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    auto count = static_cast<std::uint32_t>(entries.size());
    f.u32("entry_count", count);
    f.entries("entry", entries, count, 8, [&](Entry& entry) {
      f.u32("sample_count", entry.sampleCount);
      if (version == 0) {
        auto offset = static_cast<std::uint32_t>(entry.sampleOffset);
        f.u32("sample_offset", offset);
        entry.sampleOffset = offset;
      } else {
        auto offset = static_cast<std::int32_t>(entry.sampleOffset);
        f.i32("sample_offset", offset);
        entry.sampleOffset = offset;
      }
    });
  }
};

}  // namespace fmp4::mp4
