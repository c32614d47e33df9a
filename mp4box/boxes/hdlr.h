// "hdlr": the handler reference (ISO/IEC 14496-12, 8.4.3).
#pragma once

#include <array>

#include "base/fourcc.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

// What a track holds, as its handler_type says it.
inline constexpr std::uint32_t kVideoHandler = Mp4FourCc("vide");
inline constexpr std::uint32_t kAudioHandler = Mp4FourCc("soun");
inline constexpr std::uint32_t kCaptionHandler = Mp4FourCc("clcp");  // QuickTime: closed captions

struct HandlerBox final : Mp4FullBox {
  std::uint32_t preDefined = 0;  // QuickTime: component type
  std::uint32_t handlerType = 0;
  std::array<std::uint32_t, 3> reserved = {};  // QuickTime: manufacturer, flags, flags mask
  std::string name;
  bool countedName = false;           // QuickTime: the name has a length prefix and no terminating zero
  std::vector<std::uint8_t> padding;  // bytes after the name

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.fourcc("pre_defined", preDefined);
    f.fourcc("handler_type", handlerType);
    for (std::uint32_t& value : reserved) f.u32("reserved", value);
    if (f.reading()) {
      // A counted name fills the box to its last character; the other form has a terminating zero.
      const std::uint64_t left = f.remaining();
      countedName = left > 1 && f.peek(0) == left - 1 && f.peek(left - 1) != 0;
    }
    if (countedName) {
      auto length = static_cast<std::uint8_t>(name.size());
      f.u8("name_length", length);
      f.characters("name", name, length);
    } else {
      f.text("name", name);
    }
    f.rest("padding", padding);
  }
};

}  // namespace fmp4::mp4
