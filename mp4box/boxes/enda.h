// "enda": the byte order of uncompressed audio (QuickTime).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct EndianBox final : Mp4Payload {
  std::uint16_t littleEndian = 0;  // 1: little-endian, 0: big-endian

  void fields(Mp4Fields& f) override { f.u16("littleEndian", littleEndian); }
};

}  // namespace fmp4::mp4
