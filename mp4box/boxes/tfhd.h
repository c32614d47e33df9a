// "tfhd": the track fragment header (ISO/IEC 14496-12, 8.8.7).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct TrackFragmentHeaderBox final : Mp4FullBox {
  static constexpr std::uint32_t kBaseDataOffset = 0x000001;
  static constexpr std::uint32_t kSampleDescriptionIndex = 0x000002;
  static constexpr std::uint32_t kDefaultSampleDuration = 0x000008;
  static constexpr std::uint32_t kDefaultSampleSize = 0x000010;
  static constexpr std::uint32_t kDefaultSampleFlags = 0x000020;
  static constexpr std::uint32_t kDurationIsEmpty = 0x010000;
  static constexpr std::uint32_t kDefaultBaseIsMoof = 0x020000;

  std::uint32_t trackId = 0;
  // Each is stored only if its flag is set.
  std::uint64_t baseDataOffset = 0;  // file offset
  std::uint32_t sampleDescriptionIndex = 0;
  std::uint32_t defaultSampleDuration = 0;  // ticks
  std::uint32_t defaultSampleSize = 0;      // bytes
  std::uint32_t defaultSampleFlags = 0;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("track_ID", trackId);
    if (flags & kBaseDataOffset) f.u64("base_data_offset", baseDataOffset);
    if (flags & kSampleDescriptionIndex) f.u32("sample_description_index", sampleDescriptionIndex);
    if (flags & kDefaultSampleDuration) f.u32("default_sample_duration", defaultSampleDuration);
    if (flags & kDefaultSampleSize) f.u32("default_sample_size", defaultSampleSize);
    if (flags & kDefaultSampleFlags) f.hex("default_sample_flags", defaultSampleFlags, 4);
  }
};

}  // namespace fmp4::mp4
