// "meta": metadata (ISO/IEC 14496-12, 8.11.1). Its content is in child boxes.
#pragma once

#include "base/fourcc.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct MetaBox final : Mp4FullBox {
  bool plain = false;  // QuickTime: no version and flags, starts with the children

  void fields(Mp4Fields& f) override {
    // In both forms the first child is the handler.
    if (f.reading()) plain = f.peekU32(4) == Mp4FourCc("hdlr");
    if (!plain) fullBox(f);
  }
};

}  // namespace fmp4::mp4
