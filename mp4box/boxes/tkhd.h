// "tkhd": the track header (ISO/IEC 14496-12, 8.3.2).
#pragma once

#include "mp4box/boxes/matrix.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct TrackHeaderBox final : Mp4FullBox {
  std::uint64_t creationTime = 0;      // seconds since 1904-01-01
  std::uint64_t modificationTime = 0;  // seconds since 1904-01-01
  std::uint32_t trackId = 0;
  std::uint64_t duration = 0;  // ticks of the movie's timescale
  std::int16_t layer = 0;
  std::int16_t alternateGroup = 0;
  std::uint16_t volume = 0;  // 8.8
  Matrix matrix = {};
  std::uint32_t width = 0;   // 16.16 pixels
  std::uint32_t height = 0;  // 16.16 pixels

  void fields(Mp4Fields& f) override {
    fullBox(f);
    const bool wide = version == 1;
    f.u32or64("creation_time", creationTime, wide);
    f.u32or64("modification_time", modificationTime, wide);
    f.u32("track_ID", trackId);
    f.reserved(4);
    f.u32or64("duration", duration, wide);
    f.reserved(8);
    f.i16("layer", layer);
    f.i16("alternate_group", alternateGroup);
    f.fixed8("volume", volume);
    f.reserved(2);
    matrixFields(f, matrix);
    f.fixed16("width", width);
    f.fixed16("height", height);
  }
};

}  // namespace fmp4::mp4
