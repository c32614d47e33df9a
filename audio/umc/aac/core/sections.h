// section_data(): the codebook of every band (ISO/IEC 14496-3, 4.4.2.1 and 4.6.3.2).
#pragma once

#include "audio/umc/aac/core/channel_stream.h"
#include "base/bit_window.h"

namespace UMC::aac {

// False for a reserved codebook or sections that do not end with the bands.
bool ParseSectionData(fmp4::BitWindow& stream, ChannelStream& channel);

}  // namespace UMC::aac
