// "dref": the data references (ISO/IEC 14496-12, 8.7.2). The entries are child boxes.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct DataReferenceBox final : Mp4FullBox {
  std::uint32_t entryCount = 0;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("entry_count", entryCount);
  }
};

}  // namespace fmp4::mp4
