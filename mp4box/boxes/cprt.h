// "cprt": a copyright notice (ISO/IEC 14496-12, 8.10.2).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct CopyrightBox final : Mp4FullBox {
  std::uint16_t language = 0;  // ISO 639-2: three letters minus 0x60, 5 bits each
  std::string notice;  // as stored: UTF-8, or UTF-16 after a byte order mark; includes the terminating zero

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.hex("language", language, 2);
    f.restCharacters("notice", notice);
  }
};

}  // namespace fmp4::mp4
