// "trex": the defaults of a track's fragments (ISO/IEC 14496-12, 8.8.3).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct TrackExtendsBox final : Mp4FullBox {
  std::uint32_t trackId = 0;
  std::uint32_t defaultSampleDescriptionIndex = 0;
  std::uint32_t defaultSampleDuration = 0;  // ticks
  std::uint32_t defaultSampleSize = 0;      // bytes
  std::uint32_t defaultSampleFlags = 0;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("track_ID", trackId);
    f.u32("default_sample_description_index", defaultSampleDescriptionIndex);
    f.u32("default_sample_duration", defaultSampleDuration);
    f.u32("default_sample_size", defaultSampleSize);
    f.hex("default_sample_flags", defaultSampleFlags, 4);
  }
};

}  // namespace fmp4::mp4
