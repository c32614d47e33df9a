#include "audio/umc/aac/sbr/header.h"

namespace UMC::aac {

bool SbrHeader::HasBandsOf(const SbrHeader& other) const {
  return startFreq == other.startFreq && stopFreq == other.stopFreq && xoverBand == other.xoverBand &&
         freqScale == other.freqScale && alterScale == other.alterScale && noiseBands == other.noiseBands;
}

SbrHeader ParseSbrHeader(fmp4::BitWindow& stream) {
  const auto read = [&](unsigned bits) { return static_cast<std::uint8_t>(stream.Read(bits)); };
  SbrHeader header{};
  header.ampRes = read(1);
  header.startFreq = read(4);
  header.stopFreq = read(4);
  header.xoverBand = read(3);
  read(2);  // bs_reserved
  const bool extra1 = stream.ReadFlag();
  const bool extra2 = stream.ReadFlag();
  header.freqScale = extra1 ? read(2) : 2;
  header.alterScale = extra1 ? read(1) : 1;
  header.noiseBands = extra1 ? read(2) : 2;
  header.limiterBands = extra2 ? read(2) : 2;
  header.limiterGains = extra2 ? read(2) : 2;
  header.interpolFreq = extra2 ? stream.ReadFlag() : true;
  header.smoothingOff = extra2 ? stream.ReadFlag() : true;
  return header;
}

}  // namespace UMC::aac
