// "url ": a data reference by URL (ISO/IEC 14496-12, 8.7.2).
#pragma once

#include <optional>

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct DataEntryUrlBox final : Mp4FullBox {
  static constexpr std::uint32_t kSameFile = 0x000001;

  std::optional<std::string> location;  // stored only with flags 0

  void fields(Mp4Fields& f) override {
    fullBox(f);
    if (flags != 0) return;
    if (f.reading() && f.remaining() > 0) location.emplace();
    if (location) f.text("location", *location);
  }
};

}  // namespace fmp4::mp4
