// "ftyp": file type and compatibility (ISO/IEC 14496-12, 4.3).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct FileTypeBox final : Mp4Payload {
  std::uint32_t majorBrand = 0;
  std::uint32_t minorVersion = 0;
  std::vector<std::uint32_t> compatibleBrands;

  void fields(Mp4Fields& f) override {
    f.fourcc("major_brand", majorBrand);
    f.u32("minor_version", minorVersion);
    f.entries("compatible_brands", compatibleBrands, Mp4Fields::kToTheEnd, 4,
              [&f](std::uint32_t& brand) { f.fourcc("brand", brand); });
  }
};

}  // namespace fmp4::mp4
