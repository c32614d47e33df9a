// The codecs of sound that an elementary stream descriptor names.
#pragma once

#include <cstdint>

// The codec that an objectTypeIndication (ISO/IEC 14496-1, 7.2.6.6.2, and the MP4 registration authority)
// names where it is another than AAC. Null for AAC, and for numbers that name no codec of sound.
const char* Mp4OtherAudioCodec(std::uint8_t objectTypeIndication);
