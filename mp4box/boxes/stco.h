// "stco" and "co64": chunk offsets (ISO/IEC 14496-12, 8.7.5).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ChunkOffsetBox final : Mp4FullBox {
  std::vector<std::uint32_t> chunkOffsets;  // file offsets

  void fields(Mp4Fields& f) override {
    fullBox(f);
    auto count = static_cast<std::uint32_t>(chunkOffsets.size());
    f.u32("entry_count", count);
    f.words("chunk_offset", chunkOffsets, count);
  }
};

struct ChunkLargeOffsetBox final : Mp4FullBox {
  std::vector<std::uint64_t> chunkOffsets;  // file offsets

  void fields(Mp4Fields& f) override {
    fullBox(f);
    auto count = static_cast<std::uint32_t>(chunkOffsets.size());
    f.u32("entry_count", count);
    f.entries("entry", chunkOffsets, count, 8,
              [&f](std::uint64_t& offset) { f.u64("chunk_offset", offset); });
  }
};

}  // namespace fmp4::mp4
