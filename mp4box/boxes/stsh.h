// "stsh": shadow sync samples (ISO/IEC 14496-12, 8.6.3).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ShadowSyncSampleBox final : Mp4FullBox {
  struct Entry {
    std::uint32_t shadowedSampleNumber = 0;
    std::uint32_t syncSampleNumber = 0;
  };
  std::vector<Entry> entries;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    auto count = static_cast<std::uint32_t>(entries.size());
    f.u32("entry_count", count);
    f.entries("entry", entries, count, 8, [&f](Entry& entry) {
      f.u32("shadowed_sample_number", entry.shadowedSampleNumber);
      f.u32("sync_sample_number", entry.syncSampleNumber);
    });
  }
};

}  // namespace fmp4::mp4
