// "meta": metadata (ISO/IEC 14496-12, 8.11.1). What it holds are child boxes.
#pragma once

#include "base/fourcc.h"
#include "mp4box/fields.h"

namespace mp4 {

struct MetaBox final : Mp4FullBox {
  bool plain = false;  // QuickTime: no version and flags, the children come at once

  void fields(Mp4Fields& f) override {
    // The first child is the handler in either form.
    if (f.reading()) plain = f.aheadU32(4) == Mp4FourCc("hdlr");
    if (!plain) fullBox(f);
  }
};

}  // namespace mp4
