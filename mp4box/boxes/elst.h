// "elst": the edit list (ISO/IEC 14496-12, 8.6.6).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct EditListBox final : Mp4FullBox {
  struct Entry {
    std::uint64_t segmentDuration = 0;  // ticks of the movie's timescale
    std::int64_t mediaTime = 0;         // ticks of the media's timescale; -1: an empty edit
    std::int16_t mediaRateInteger = 0;
    std::int16_t mediaRateFraction = 0;
  };
  std::vector<Entry> entries;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    const bool wide = version == 1;
    auto count = static_cast<std::uint32_t>(entries.size());
    f.u32("entry_count", count);
    f.entries("entry", entries, count, wide ? 20 : 12, [&](Entry& entry) {
      f.u32or64("segment_duration", entry.segmentDuration, wide);
      if (wide) {
        f.i64("media_time", entry.mediaTime);
      } else {
        auto time = static_cast<std::int32_t>(entry.mediaTime);
        f.i32("media_time", time);
        entry.mediaTime = time;
      }
      f.i16("media_rate_integer", entry.mediaRateInteger);
      f.i16("media_rate_fraction", entry.mediaRateFraction);
    });
  }
};

}  // namespace fmp4::mp4
