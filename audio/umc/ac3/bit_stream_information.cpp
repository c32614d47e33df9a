#include "audio/umc/ac3/bit_stream_information.h"

#include <algorithm>
#include <cstddef>

namespace UMC::ac3 {

namespace {

// Code 3 is reserved: the intermediate level is used (5.4.2.4 and 5.4.2.5).
constexpr float kCentreLevels[4] = {0.70710678f, 0.59460356f, 0.5f, 0.59460356f};
constexpr float kSurroundLevels[4] = {0.70710678f, 0.5f, 0.0f, 0.5f};

// Levels of the alternate syntax: from +3 dB down in steps of 1.5 dB, then zero (annex D, 2.3.1). Surround
// channels use the levels from the fourth on; the codes before it are reserved and take that level.
constexpr float kAlternateLevels[8] = {1.41421356f, 1.18920712f, 1.0f, 0.84089642f,
                                       0.70710678f, 0.59460356f, 0.5f, 0.0f};
constexpr std::uint32_t kFirstSurroundLevel = 3;
constexpr std::uint8_t kAlternateVersion = 6;

// Skips a field preceded by a presence flag.
void SkipOptional(fmp4::BitWindow& stream, unsigned bits) {
  if (stream.ReadFlag()) stream.Read(bits);
}

// dialnorm to roomtyp, once per programme. Returns dialnorm, which is for the listener's volume, not for the
// decoder.
std::uint8_t ParseProgramme(fmp4::BitWindow& stream) {
  const auto dialogueLevel = static_cast<std::uint8_t>(stream.Read(5));
  SkipOptional(stream, 8);  // compr
  SkipOptional(stream, 8);  // langcod
  SkipOptional(stream, 7);  // mixlevel, roomtyp
  return dialogueLevel;
}

// xbsi1: downmix levels of finer resolution, which replace the others.
void ParseAlternateLevels(fmp4::BitWindow& stream, BitStreamInformation& info) {
  stream.Read(2 + 3 + 3);  // dmixmod, ltrtcmixlev, ltrtsurmixlev
  const std::uint32_t centre = stream.Read(3), surround = stream.Read(3);
  if (info.HasCentreLevel()) info.centreLevel = kAlternateLevels[centre];
  if (info.HasSurroundLevel()) {
    info.surroundLevel = kAlternateLevels[std::max(surround, kFirstSurroundLevel)];
  }
}

}  // namespace

BitStreamInformation ParseBitStreamInformation(fmp4::BitWindow& stream) {
  BitStreamInformation info{};
  const auto read = [&](unsigned bits) { return static_cast<std::uint8_t>(stream.Read(bits)); };
  info.version = read(5);
  info.serviceType = read(3);
  info.mode = read(3);
  if (info.HasCentreLevel()) info.centreLevel = kCentreLevels[stream.Read(2)];
  if (info.HasSurroundLevel()) info.surroundLevel = kSurroundLevels[stream.Read(2)];
  if (info.mode == kStereo) info.surroundMode = read(2);
  info.lfe = stream.ReadFlag();
  info.dialogueLevels[0] = ParseProgramme(stream);
  if (info.mode == kDualMono) info.dialogueLevels[1] = ParseProgramme(stream);
  stream.Read(2);  // copyrightb, origbs
  if (info.version != kAlternateVersion) {
    SkipOptional(stream, 14);  // timecod1
  } else if (stream.ReadFlag()) {
    ParseAlternateLevels(stream, info);
  }
  SkipOptional(stream, 14);  // timecod2 or xbsi2
  if (stream.ReadFlag()) {
    const std::size_t bytes = stream.Read(6) + 1;  // addbsil
    stream.Seek(stream.Position() + 8 * bytes);
  }
  return info;
}

}  // namespace UMC::ac3
