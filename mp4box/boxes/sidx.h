// "sidx": the segment index (ISO/IEC 14496-12, 8.16.3).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct SegmentIndexBox final : Mp4FullBox {
  struct Reference {
    std::uint32_t referenceType = 0;   // 1 bit; 1: refers to another segment index
    std::uint32_t referencedSize = 0;  // 31 bits, bytes
    std::uint32_t subsegmentDuration = 0;
    std::uint32_t startsWithSap = 0;  // 1 bit
    std::uint32_t sapType = 0;        // 3 bits
    std::uint32_t sapDeltaTime = 0;   // 28 bits
  };

  std::uint32_t referenceId = 0;  // track_ID
  std::uint32_t timescale = 0;    // ticks per second
  std::uint64_t earliestPresentationTime = 0;
  std::uint64_t firstOffset = 0;      // bytes from the end of this box to the first referenced byte
  std::vector<Reference> references;  // at most 65535

  void fields(Mp4Fields& f) override {
    fullBox(f);
    const bool wide = version == 1;
    f.u32("reference_ID", referenceId);
    f.u32("timescale", timescale);
    f.u32or64("earliest_presentation_time", earliestPresentationTime, wide);
    f.u32or64("first_offset", firstOffset, wide);
    f.reserved(2);
    auto count = static_cast<std::uint16_t>(references.size());
    f.u16("reference_count", count);
    f.entries("reference", references, count, 12, [&f](Reference& r) {
      f.packed(4, {{"reference_type", r.referenceType, 1}, {"referenced_size", r.referencedSize, 31}});
      f.u32("subsegment_duration", r.subsegmentDuration);
      f.packed(4, {{"starts_with_SAP", r.startsWithSap, 1},
                   {"SAP_type", r.sapType, 3},
                   {"SAP_delta_time", r.sapDeltaTime, 28}});
    });
  }
};

}  // namespace fmp4::mp4
