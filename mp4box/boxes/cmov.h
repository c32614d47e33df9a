// "cmov": a compressed movie box (QuickTime). Its content is in child boxes.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct CompressedMovieBox final : Mp4Payload {
  void fields(Mp4Fields&) override {}
};

}  // namespace fmp4::mp4
