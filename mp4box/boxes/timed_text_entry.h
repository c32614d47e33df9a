// The timed-text sample entry of "tx3g" and "sbtl" tracks (3GPP TS 26.245, 5.16). The font table is a child
// box.
#pragma once

#include <array>

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct TimedTextSampleEntry final : Mp4Payload {
  static constexpr unsigned kBytes = 38;  // bytes before the child boxes

  std::uint16_t dataReferenceIndex = 0;
  std::uint32_t displayFlags = 0;
  std::uint8_t horizontalJustification = 0;
  std::uint8_t verticalJustification = 0;
  std::array<std::uint8_t, 4> backgroundColor = {};  // red, green, blue, alpha
  std::array<std::int16_t, 4> defaultTextBox = {};   // top, left, bottom, right
  // The default style.
  std::uint16_t startChar = 0;
  std::uint16_t endChar = 0;
  std::uint16_t fontId = 0;
  std::uint8_t faceStyleFlags = 0;
  std::uint8_t fontSize = 0;
  std::array<std::uint8_t, 4> textColor = {};  // red, green, blue, alpha

  void fields(Mp4Fields& f) override {
    f.reserved(6);
    f.u16("data_reference_index", dataReferenceIndex);
    f.hex("displayFlags", displayFlags, 4);
    f.u8("horizontal-justification", horizontalJustification);
    f.u8("vertical-justification", verticalJustification);
    f.bytes("background-color-rgba", backgroundColor);
    for (std::int16_t& edge : defaultTextBox) f.i16("default-text-box", edge);
    f.u16("startChar", startChar);
    f.u16("endChar", endChar);
    f.u16("font-ID", fontId);
    f.hex("face-style-flags", faceStyleFlags, 1);
    f.u8("font-size", fontSize);
    f.bytes("text-color-rgba", textColor);
  }
};

}  // namespace fmp4::mp4
