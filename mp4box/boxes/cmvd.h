// "cmvd": the data of a compressed movie box (QuickTime).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct CompressedMovieDataBox final : Mp4Payload {
  std::uint32_t uncompressedSize = 0;  // bytes
  std::vector<std::uint8_t> data;

  void fields(Mp4Fields& f) override {
    f.u32("uncompressed_size", uncompressedSize);
    f.rest("data", data);
  }
};

}  // namespace fmp4::mp4
