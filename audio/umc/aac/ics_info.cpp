#include "ics_info.h"

namespace UMC::aac {

bool ParseIcsInfo(BitWindow& stream, const FrameBands& bands, IcsInfo& ics) {
  stream.Read(1);  // ics_reserved_bit
  ics.sequence = static_cast<WindowSequence>(stream.Read(2));
  ics.shape = static_cast<std::uint8_t>(stream.Read(1));
  if (ics.IsShort()) {
    ics.bands = &bands.shortWindow;
    ics.maxSfb = static_cast<std::uint8_t>(stream.Read(4));
    const std::uint32_t grouping = stream.Read(7);
    ics.groups = 1;
    ics.groupLength[0] = 1;
    for (int bit = 6; bit >= 0; --bit) {
      if ((grouping >> bit & 1) != 0) {
        ++ics.groupLength[ics.groups - 1];
      } else {
        ics.groupLength[ics.groups++] = 1;
      }
    }
  } else {
    ics.bands = &bands.longWindow;
    ics.maxSfb = static_cast<std::uint8_t>(stream.Read(6));
    ics.groups = 1;
    ics.groupLength[0] = 1;
    const bool predictorDataPresent = stream.ReadFlag();
    if (predictorDataPresent) return false;
  }
  return ics.maxSfb <= ics.bands->bands;
}

}  // namespace UMC::aac
