// "user", "key ", "iviv", "priv": boxes of protected items; their content is ignored.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct OpaqueBox final : Mp4Payload {
  void fields(Mp4Fields&) override {}
};

}  // namespace fmp4::mp4
