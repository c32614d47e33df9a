// "mp4s": the sample entry of an MPEG-4 systems stream (ISO/IEC 14496-14, 5.6). The "esds" is a child box.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct MpegSampleEntry final : Mp4Payload {
  std::uint16_t dataReferenceIndex = 0;

  void fields(Mp4Fields& f) override {
    f.reserved(6);
    f.u16("data_reference_index", dataReferenceIndex);
  }
};

}  // namespace fmp4::mp4
