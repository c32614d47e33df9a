// "sdtp": independent and disposable samples (ISO/IEC 14496-12, 8.6.4).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct SampleDependencyTypeBox final : Mp4FullBox {
  // One byte per sample: is_leading, sample_depends_on, sample_is_depended_on, sample_has_redundancy, 2 bits
  // each.
  std::vector<std::uint8_t> samples;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.rest("samples", samples);
  }
};

}  // namespace fmp4::mp4
