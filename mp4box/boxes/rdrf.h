// "rdrf": the location of a reference movie (QuickTime).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ReferenceMovieDataReferenceBox final : Mp4FullBox {
  std::uint32_t referenceType = 0;      // "url ", "alis"
  std::vector<std::uint8_t> reference;  // stored with a size prefix

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.fourcc("data_reference_type", referenceType);
    auto size = static_cast<std::uint32_t>(reference.size());
    f.u32("data_reference_size", size);
    f.blob("data_reference", reference, size);
  }
};

}  // namespace fmp4::mp4
