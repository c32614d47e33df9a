// "mdhd": the media header (ISO/IEC 14496-12, 8.4.2).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct MediaHeaderBox final : Mp4FullBox {
  std::uint64_t creationTime = 0;      // seconds since 1904-01-01
  std::uint64_t modificationTime = 0;  // seconds since 1904-01-01
  std::uint32_t timescale = 0;         // ticks per second
  std::uint64_t duration = 0;          // ticks
  std::uint16_t language = 0;          // ISO 639-2: three letters minus 0x60, 5 bits each
  std::uint16_t preDefined = 0;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    const bool wide = version == 1;
    f.u32or64("creation_time", creationTime, wide);
    f.u32or64("modification_time", modificationTime, wide);
    f.u32("timescale", timescale);
    f.u32or64("duration", duration, wide);
    f.hex("language", language, 2);
    f.u16("pre_defined", preDefined);
  }
};

}  // namespace fmp4::mp4
