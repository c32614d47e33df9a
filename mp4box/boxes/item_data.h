// The "data" box that holds the value of a metadata item under "ilst".
#pragma once

#include "base/fourcc.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ItemDataHeader {
  std::uint32_t size = 0;  // bytes, header and value
  std::uint32_t type = 0;  // "data"
  std::uint32_t typeIndicator = 0;
  std::uint32_t locale = 0;

  void fields(Mp4Fields& f) {
    f.u32("data_size", size);
    f.fourcc("data_type", type);
    f.u32("type_indicator", typeIndicator);
    f.u32("locale", locale);
  }

  // Whether the next bytes of `f` form such a box that fills the remaining payload.
  static bool follows(const Mp4Fields& f) {
    return f.remaining() >= 16 && f.peekU32(0) == f.remaining() && f.peekU32(4) == Mp4FourCc("data");
  }
};

}  // namespace fmp4::mp4
