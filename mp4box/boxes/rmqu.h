// "rmqu": the relative quality of a reference movie (QuickTime).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ReferenceMovieQualityBox final : Mp4Payload {
  std::uint32_t quality = 0;

  void fields(Mp4Fields& f) override { f.u32("quality", quality); }
};

}  // namespace fmp4::mp4
