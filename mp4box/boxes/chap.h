// "chap": a track reference to the tracks that hold chapters.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ChapterReferenceBox final : Mp4Payload {
  std::vector<std::uint32_t> trackIds;

  void fields(Mp4Fields& f) override {
    f.words("track_ID", trackIds, f.reading() ? f.remaining() / 4 : trackIds.size());
  }
};

}  // namespace fmp4::mp4
