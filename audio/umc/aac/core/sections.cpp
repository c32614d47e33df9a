#include "audio/umc/aac/core/sections.h"

#include <algorithm>

namespace UMC::aac {

bool ParseSectionData(fmp4::BitWindow& stream, ChannelStream& channel) {
  const IcsInfo& ics = channel.ics;
  const unsigned lengthBits = ics.IsShort() ? 3 : 5;
  const std::uint32_t escape = (1u << lengthBits) - 1;
  for (int group = 0; group < ics.groups; ++group) {
    int sfb = 0;
    while (sfb < ics.maxSfb) {
      const auto codebook = static_cast<std::uint8_t>(stream.Read(4));
      if (codebook == kReservedCodebook) return false;
      int end = sfb;
      std::uint32_t increment;
      do {
        increment = stream.Read(lengthBits);
        end += static_cast<int>(increment);
        if (end > ics.maxSfb) return false;
      } while (increment == escape);
      // Prevents an endless run of empty sections.
      if (stream.Overrun()) return false;
      std::fill(channel.codebook + ics.Band(group, sfb), channel.codebook + ics.Band(group, end), codebook);
      sfb = end;
    }
  }
  return true;
}

}  // namespace UMC::aac
