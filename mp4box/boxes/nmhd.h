// "nmhd": the null media header (ISO/IEC 14496-12, 8.4.5.2). Only written; read as a container.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct NullMediaHeaderBox final : Mp4FullBox {
  void fields(Mp4Fields& f) override { fullBox(f); }
};

}  // namespace fmp4::mp4
