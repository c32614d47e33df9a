// "mvhd": the movie header (ISO/IEC 14496-12, 8.2.2).
#pragma once

#include <array>

#include "mp4box/boxes/matrix.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct MovieHeaderBox final : Mp4FullBox {
  std::uint64_t creationTime = 0;      // seconds since 1904-01-01
  std::uint64_t modificationTime = 0;  // seconds since 1904-01-01
  std::uint32_t timescale = 0;         // ticks per second
  std::uint64_t duration = 0;          // ticks
  std::uint32_t rate = 0;              // 16.16
  std::uint16_t volume = 0;            // 8.8
  Matrix matrix = {};
  std::array<std::uint32_t, 6> preDefined = {};
  std::uint32_t nextTrackId = 0;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    const bool wide = version == 1;
    f.u32or64("creation_time", creationTime, wide);
    f.u32or64("modification_time", modificationTime, wide);
    f.u32("timescale", timescale);
    f.u32or64("duration", duration, wide);
    f.fixed16("rate", rate);
    f.fixed8("volume", volume);
    f.reserved(10);
    matrixFields(f, matrix);
    for (std::uint32_t& value : preDefined) f.u32("pre_defined", value);
    f.u32("next_track_ID", nextTrackId);
  }
};

}  // namespace fmp4::mp4
