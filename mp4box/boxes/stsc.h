// "stsc": sample to chunk (ISO/IEC 14496-12, 8.7.4).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct SampleToChunkBox final : Mp4FullBox {
  struct Entry {
    std::uint32_t firstChunk = 0;
    std::uint32_t samplesPerChunk = 0;
    std::uint32_t sampleDescriptionIndex = 0;
  };
  std::vector<Entry> entries;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    auto count = static_cast<std::uint32_t>(entries.size());
    f.u32("entry_count", count);
    f.entries("entry", entries, count, 12, [&f](Entry& entry) {
      f.u32("first_chunk", entry.firstChunk);
      f.u32("samples_per_chunk", entry.samplesPerChunk);
      f.u32("sample_description_index", entry.sampleDescriptionIndex);
    });
  }
};

}  // namespace fmp4::mp4
