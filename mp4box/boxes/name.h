// "name": the name of a track or an item; fills the payload.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct NameBox final : Mp4Payload {
  std::string name;  // as stored

  void fields(Mp4Fields& f) override { f.restCharacters("name", name); }
};

}  // namespace fmp4::mp4
