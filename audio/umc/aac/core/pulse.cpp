#include "audio/umc/aac/core/pulse.h"

namespace UMC::aac {

bool ParsePulseData(fmp4::BitWindow& stream, const BandTable& bands, PulseData& pulse) {
  pulse.count = static_cast<int>(stream.Read(2)) + 1;
  const auto startBand = static_cast<int>(stream.Read(6));
  if (startBand >= bands.bands) return false;
  std::uint32_t line = bands.offsets[startBand];
  for (int i = 0; i < pulse.count; ++i) {
    line += stream.Read(5);
    if (line >= bands.offsets[bands.bands]) return false;
    pulse.line[i] = static_cast<std::uint16_t>(line);
    pulse.amplitude[i] = static_cast<std::uint8_t>(stream.Read(4));
  }
  return true;
}

void ApplyPulse(const PulseData& pulse, std::int16_t* quantised) {
  for (int i = 0; i < pulse.count; ++i) {
    std::int16_t& value = quantised[pulse.line[i]];
    value = static_cast<std::int16_t>(value > 0 ? value + pulse.amplitude[i] : value - pulse.amplitude[i]);
  }
}

}  // namespace UMC::aac
