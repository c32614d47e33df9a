// Audio codecs identified by an elementary stream descriptor.
#pragma once

#include <cstdint>

namespace fmp4 {

// The name of the audio codec of an objectTypeIndication (ISO/IEC 14496-1, 7.2.6.6.2, and the MP4
// registration authority) other than AAC. Null for AAC and for values that do not denote an audio codec.
const char* Mp4OtherAudioCodec(std::uint8_t objectTypeIndication);

}  // namespace fmp4
