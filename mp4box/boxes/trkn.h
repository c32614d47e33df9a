// "trkn": the position of an item on its medium, such as a track number.
#pragma once

#include "mp4box/boxes/item_data.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct TrackNumberBox final : Mp4Payload {
  ItemDataHeader data;
  std::uint16_t track = 0;
  std::uint16_t total = 0;            // 0: unspecified
  std::vector<std::uint8_t> padding;  // usually two bytes

  void fields(Mp4Fields& f) override {
    data.fields(f);
    f.reserved(2);
    f.u16("track", track);
    f.u16("total", total);
    f.rest("padding", padding);
  }
};

}  // namespace fmp4::mp4
