// The sample entry of "text" tracks: a QuickTime text sample description or, as some MP4 writers store it, a
// timed-text sample entry.
#pragma once

#include <array>
#include <optional>

#include "base/fourcc.h"
#include "mp4box/boxes/timed_text_entry.h"

namespace fmp4::mp4 {

struct TextSampleEntry final : Mp4Payload {
  std::optional<TimedTextSampleEntry> timedText;  // if set, it replaces all fields below
  std::uint16_t dataReferenceIndex = 0;
  std::uint32_t displayFlags = 0;
  std::int32_t textJustification = 0;
  std::array<std::uint16_t, 3> backgroundColor = {};  // red, green, blue
  std::array<std::int16_t, 4> defaultTextBox = {};    // top, left, bottom, right
  std::uint16_t fontNumber = 0;
  std::uint16_t fontFace = 0;
  std::array<std::uint16_t, 3> foregroundColor = {};  // red, green, blue
  std::string fontName;                               // stored with a length prefix

  void fields(Mp4Fields& f) override {
    // The font table is the first child box of a timed-text sample entry.
    if (f.reading() && f.peekU32(TimedTextSampleEntry::kBytes + 4) == Mp4FourCc("ftab")) timedText.emplace();
    if (timedText) return timedText->fields(f);
    f.reserved(6);
    f.u16("data_reference_index", dataReferenceIndex);
    f.hex("display_flags", displayFlags, 4);
    f.i32("text_justification", textJustification);
    for (std::uint16_t& value : backgroundColor) f.u16("background_color", value);
    for (std::int16_t& edge : defaultTextBox) f.i16("default_text_box", edge);
    f.reserved(8);
    f.u16("font_number", fontNumber);
    f.hex("font_face", fontFace, 2);
    f.reserved(3);
    for (std::uint16_t& value : foregroundColor) f.u16("foreground_color", value);
    auto length = static_cast<std::uint8_t>(fontName.size());
    f.u8("font_name_length", length);
    f.characters("font_name", fontName, length);
  }
};

}  // namespace fmp4::mp4
