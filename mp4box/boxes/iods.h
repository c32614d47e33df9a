// "iods": the object descriptor of a presentation (ISO/IEC 14496-14, 5.1).
#pragma once

#include "mp4box/boxes/descriptor.h"
#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ObjectDescriptorBox final : Mp4FullBox {
  std::uint8_t tag = 0;  // 0x10 (initial object descriptor) or 0x11
  DescriptorLength length;
  std::uint32_t objectDescriptorId = 0;
  std::uint32_t urlFlag = 0;
  std::uint32_t includeInlineProfileLevelFlag = 0;
  std::uint32_t reserved = 0;
  std::string url;                  // only with `urlFlag`
  std::uint8_t odProfileLevel = 0;  // this and the following fields: only without `urlFlag`
  std::uint8_t sceneProfileLevel = 0;
  std::uint8_t audioProfileLevel = 0;
  std::uint8_t visualProfileLevel = 0;
  std::uint8_t graphicsProfileLevel = 0;
  std::vector<std::uint8_t> descriptors;  // as stored

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u8("tag", tag);
    length.value = static_cast<std::uint32_t>((urlFlag ? 3 + url.size() : 7) + descriptors.size());
    length.fields(f);
    f.packed(2, {{"objectDescriptorID", objectDescriptorId, 10},
                 {"URL_Flag", urlFlag, 1},
                 {"includeInlineProfileLevelFlag", includeInlineProfileLevelFlag, 1},
                 {"reserved", reserved, 4}});
    if (urlFlag) {
      auto urlLength = static_cast<std::uint8_t>(url.size());
      f.u8("URLlength", urlLength);
      f.characters("URLstring", url, urlLength);
    } else {
      f.u8("ODProfileLevelIndication", odProfileLevel);
      f.u8("sceneProfileLevelIndication", sceneProfileLevel);
      f.u8("audioProfileLevelIndication", audioProfileLevel);
      f.u8("visualProfileLevelIndication", visualProfileLevel);
      f.u8("graphicsProfileLevelIndication", graphicsProfileLevel);
    }
    f.rest("descriptors", descriptors);
  }
};

}  // namespace fmp4::mp4
