// The text metadata items, whose types are the byte 0xA9 and three letters: QuickTime user data text, or an
// item under "ilst".
#pragma once

#include <optional>

#include "mp4box/boxes/item_data.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct TextItem final : Mp4Payload {
  std::optional<ItemDataHeader> data;  // if set, the text is the value of a "data" box
  std::uint16_t language = 0;          // user data text only
  std::string text;
  std::vector<std::uint8_t> others;  // user data text in other languages, as stored

  void fields(Mp4Fields& f) override {
    if (f.reading() && ItemDataHeader::follows(f)) data.emplace();
    if (data) {
      data->fields(f);
      f.restCharacters("text", text);
      return;
    }
    auto size = static_cast<std::uint16_t>(text.size());
    f.u16("text_size", size);
    f.u16("language", language);
    f.characters("text", text, size);
    f.rest("others", others);
  }
};

}  // namespace fmp4::mp4
