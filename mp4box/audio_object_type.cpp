#include "mp4box/audio_object_type.h"

namespace fmp4 {

const char* Mp4OtherAudioCodec(std::uint8_t objectTypeIndication) {
  switch (objectTypeIndication) {
    case 0x69:
      return "MPEG-2 audio";
    case 0x6B:
      return "MPEG-1 audio";
    case 0xA5:
      return "AC-3";
    case 0xA6:
      return "E-AC-3";
    case 0xA9:
      return "DTS";
    case 0xAA:
    case 0xAB:
      return "DTS-HD";
    case 0xAC:
      return "DTS Express";
    case 0xAD:
      return "Opus";
    case 0xAE:
      return "AC-4";
    case 0xDD:
      return "Vorbis";
    case 0xE1:
      return "QCELP";
    default:
      return nullptr;
  }
}

}  // namespace fmp4
