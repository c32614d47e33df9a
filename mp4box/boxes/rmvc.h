// "rmvc": the software version that a reference movie needs (QuickTime).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ReferenceMovieVersionCheckBox final : Mp4FullBox {
  std::uint32_t softwarePackage = 0;
  std::uint32_t softwareVersion = 0;
  std::uint32_t mask = 0;
  std::uint16_t checkType = 0;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.fourcc("software_package", softwarePackage);
    f.u32("version", softwareVersion);
    f.hex("mask", mask, 4);
    f.u16("check_type", checkType);
  }
};

}  // namespace fmp4::mp4
