// "gnre": the genre of an item, by number.
#pragma once

#include "mp4box/boxes/item_data.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct GenreBox final : Mp4Payload {
  ItemDataHeader data;
  std::uint16_t genre = 0;  // ID3v1 genre plus 1

  void fields(Mp4Fields& f) override {
    data.fields(f);
    f.u16("genre", genre);
  }
};

}  // namespace fmp4::mp4
