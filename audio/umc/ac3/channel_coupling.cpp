#include "audio/umc/ac3/channel_coupling.h"

#include <algorithm>
#include <cmath>

#include "dsp/ipps_vector.h"

namespace UMC::ac3 {

namespace {

// cplcoexp, cplcomant and mstrcplco (7.4.3), including the factor 8 of the reconstruction.
float ParseCoordinate(fmp4::BitWindow& stream, int master) {
  const int exponent = static_cast<int>(stream.Read(4));
  const int mantissa = static_cast<int>(stream.Read(4));
  // The lowest octave has no hidden bit: its mantissa is in units of 1/16, not 1/32.
  const int units = exponent == 15 ? 2 * mantissa : mantissa + 16;
  return std::ldexp(static_cast<float>(units), 3 - 5 - exponent - 3 * master);
}

}  // namespace

bool ParseCouplingStrategy(fmp4::BitWindow& stream, const BitStreamInformation& info,
                           CouplingStrategy& strategy) {
  strategy = {};
  strategy.inUse = stream.ReadFlag();
  if (!strategy.inUse) return true;
  if (info.mode < kStereo) return false;
  for (int channel = 0; channel < info.FullChannels(); ++channel) {
    strategy.coupled[channel] = stream.ReadFlag();
  }
  strategy.phaseFlagsInUse = info.mode == kStereo && stream.ReadFlag();
  strategy.beginCode = static_cast<std::uint8_t>(stream.Read(4));
  const int begin = strategy.beginCode;
  const int end = static_cast<int>(stream.Read(4)) + 3;
  if (begin >= end) return false;
  for (int subBand = begin; subBand < end; ++subBand) {
    const bool joined = subBand != begin && stream.ReadFlag();  // cplbndstrc
    if (!joined) {
      strategy.bandOffsets[strategy.bandCount++] =
          static_cast<std::uint16_t>(kCouplingOrigin + kSubBandBins * subBand);
    }
  }
  strategy.bandOffsets[strategy.bandCount] = static_cast<std::uint16_t>(kCouplingOrigin + kSubBandBins * end);
  return true;
}

bool ParseCouplingCoordinates(fmp4::BitWindow& stream, const BitStreamInformation& info,
                              const CouplingStrategy& strategy, CouplingCoordinates& coordinates) {
  bool anySent = false;
  for (int channel = 0; channel < info.FullChannels(); ++channel) {
    if (!strategy.coupled[channel]) {
      coordinates.known[channel] = false;
      continue;
    }
    if (!stream.ReadFlag()) {
      if (!coordinates.known[channel]) return false;
      continue;
    }
    anySent = true;
    coordinates.known[channel] = true;
    const int master = static_cast<int>(stream.Read(2));
    for (int band = 0; band < strategy.bandCount; ++band) {
      coordinates.factors[channel][band] = ParseCoordinate(stream, master);
    }
  }
  if (strategy.phaseFlagsInUse && anySent) {
    for (int band = 0; band < strategy.bandCount; ++band) coordinates.phaseFlags[band] = stream.ReadFlag();
  }
  return true;
}

void Uncouple(const CouplingStrategy& strategy, const CouplingCoordinates& coordinates, int channel,
              float* coefficients) {
  float factors[kMaxCouplingBands];
  const auto bands = static_cast<std::size_t>(strategy.bandCount);
  std::copy_n(coordinates.factors[channel], bands, factors);
  if (strategy.phaseFlagsInUse && channel == 1) {
    for (std::size_t band = 0; band < bands; ++band) {
      if (coordinates.phaseFlags[band]) factors[band] = -factors[band];
    }
  }
  ippsScale_32f_I(coefficients, factors, strategy.bandOffsets, bands);
}

}  // namespace UMC::ac3
