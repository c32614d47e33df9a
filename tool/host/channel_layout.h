// Names of loudspeaker layouts.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "mp4box/boxes/dac3.h"

namespace fmp4 {

struct ChannelLayout {
  std::uint32_t channels = 0;  // 0: unknown
  std::string name;            // "5.1"; empty for a layout without a name
};

// Of an AudioSpecificConfig (ISO/IEC 14496-3, 1.6.3.5).
ChannelLayout aacLayout(std::span<const std::uint8_t> config);
// Of an AC-3 stream (ETSI TS 102 366, 4.4.2.3): "dual mono", "2/1" for acmod 4, "5.1".
ChannelLayout ac3Layout(const mp4::AC3SpecificBox& stream);
// Of which only the count is known: one or two channels are mono or stereo.
ChannelLayout layoutOfCount(std::uint32_t channels);

}  // namespace fmp4
