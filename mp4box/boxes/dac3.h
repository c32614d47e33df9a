// "dac3": the configuration of an AC-3 stream (ETSI TS 102 366, F.4).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct AC3SpecificBox final : Mp4Payload {
  std::uint32_t fscod = 0;
  std::uint32_t bsid = 0;
  std::uint32_t bsmod = 0;
  std::uint32_t acmod = 0;
  std::uint32_t lfeon = 0;
  std::uint32_t bitRateCode = 0;
  std::uint32_t reserved = 0;

  void fields(Mp4Fields& f) override {
    f.packed(3, {{"fscod", fscod, 2},
                 {"bsid", bsid, 5},
                 {"bsmod", bsmod, 3},
                 {"acmod", acmod, 3},
                 {"lfeon", lfeon, 1},
                 {"bit_rate_code", bitRateCode, 5},
                 {"reserved", reserved, 5}});
  }
};

}  // namespace fmp4::mp4
