// "cmov": a compressed movie box (QuickTime). What it holds are child boxes.
#pragma once

#include "mp4box/fields.h"

namespace mp4 {

struct CompressedMovieBox final : Mp4Payload {
  void fields(Mp4Fields&) override {}
};

}  // namespace mp4
