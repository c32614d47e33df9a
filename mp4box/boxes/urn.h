// "urn ": a data reference by URN (ISO/IEC 14496-12, 8.7.2).
#pragma once

#include <optional>

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct DataEntryUrnBox final : Mp4FullBox {
  std::string name;
  std::optional<std::string> location;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.text("name", name);
    if (f.reading() && f.remaining() > 0) location.emplace();
    if (location) f.text("location", *location);
  }
};

}  // namespace fmp4::mp4
