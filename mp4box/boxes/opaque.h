// "user", "key ", "iviv", "priv": boxes of protected items, whose content is not kept.
#pragma once

#include "mp4box/fields.h"

namespace mp4 {

struct OpaqueBox final : Mp4Payload {
  void fields(Mp4Fields&) override {}
};

}  // namespace mp4
