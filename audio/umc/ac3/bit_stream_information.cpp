#include "bit_stream_information.h"

#include <cstddef>

namespace UMC::ac3 {

namespace {

// The codes 3 are reserved: the level between serves (5.4.2.4 and 5.4.2.5).
constexpr float kCentreLevels[4] = {0.70710678f, 0.59460356f, 0.5f, 0.59460356f};
constexpr float kSurroundLevels[4] = {0.70710678f, 0.5f, 0.0f, 0.5f};

// Skips a field that a flag announces.
void SkipOptional(BitWindow& stream, unsigned bits) {
  if (stream.ReadFlag()) stream.Read(bits);
}

// dialnorm to roomtyp, there once for every programme. The dialogue level is for the listener's volume, not
// for the decoder.
void SkipProgramme(BitWindow& stream) {
  stream.Read(5);           // dialnorm
  SkipOptional(stream, 8);  // compr
  SkipOptional(stream, 8);  // langcod
  SkipOptional(stream, 7);  // mixlevel, roomtyp
}

}  // namespace

BitStreamInformation ParseBitStreamInformation(BitWindow& stream) {
  BitStreamInformation info{};
  stream.Read(8);  // bsid, bsmod
  info.mode = static_cast<std::uint8_t>(stream.Read(3));
  const bool hasCentre = (info.mode & 1) != 0;
  const bool isMono = info.mode == 1;
  const bool hasSurround = (info.mode & 4) != 0;
  if (hasCentre && !isMono) info.centreLevel = kCentreLevels[stream.Read(2)];
  if (hasSurround) info.surroundLevel = kSurroundLevels[stream.Read(2)];
  if (info.mode == kStereo) stream.Read(2);  // dsurmod
  info.lfe = stream.ReadFlag();
  SkipProgramme(stream);
  if (info.mode == kDualMono) SkipProgramme(stream);
  stream.Read(2);            // copyrightb, origbs
  SkipOptional(stream, 14);  // timecod1; xbsi1 of the alternate syntax (annex D) has the same size
  SkipOptional(stream, 14);  // timecod2 or xbsi2
  if (stream.ReadFlag()) {
    const std::size_t bytes = stream.Read(6) + 1;  // addbsil
    stream.Seek(stream.Position() + 8 * bytes);
  }
  return info;
}

}  // namespace UMC::ac3
