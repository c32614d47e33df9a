// individual_channel_stream(): one channel of a raw data block (ISO/IEC 14496-3, 4.4.2.1).
#pragma once

#include "audio/umc/aac/core/channel_stream.h"
#include "audio/umc/aac/core/codebooks.h"
#include "base/bit_window.h"

namespace UMC::aac {

// Reads a channel up to and including its spectrum. With `commonWindow`, its ics_info has already been read.
// False if the syntax is invalid for the object type. `quantised` is a buffer for a frame's lines.
bool ParseIndividualChannelStream(fmp4::BitWindow& stream, const Codebooks& codebooks,
                                  const FrameBands& bands, int objectType, bool commonWindow,
                                  std::int16_t* quantised, ChannelStream& channel);

}  // namespace UMC::aac
