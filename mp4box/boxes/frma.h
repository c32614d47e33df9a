// "frma": the original format of transformed samples (ISO/IEC 14496-12, 8.12.2).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct OriginalFormatBox final : Mp4Payload {
  std::uint32_t dataFormat = 0;

  void fields(Mp4Fields& f) override { f.fourcc("data_format", dataFormat); }
};

}  // namespace fmp4::mp4
