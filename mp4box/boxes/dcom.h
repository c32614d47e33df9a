// "dcom": how a compressed movie box is compressed (QuickTime).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct DataCompressionBox final : Mp4Payload {
  std::uint32_t algorithm = 0;  // "zlib" and others

  void fields(Mp4Fields& f) override { f.fourcc("algorithm", algorithm); }
};

}  // namespace fmp4::mp4
