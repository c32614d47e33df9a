// "c608" and "c708": the sample entries of caption tracks (QuickTime).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct CaptionSampleEntry final : Mp4Payload {
  std::uint16_t dataReferenceIndex = 0;

  void fields(Mp4Fields& f) override {
    f.reserved(6);
    f.u16("data_reference_index", dataReferenceIndex);
  }
};

}  // namespace fmp4::mp4
