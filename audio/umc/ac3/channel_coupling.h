// Coupling: the upper bins of several channels coded as one, with coordinates that give each its level back
// (ATSC A/52, 7.4).
#pragma once

#include <cstdint>

#include "audio/umc/ac3/bit_stream_information.h"
#include "audio/umc/ac3/coded_channel.h"
#include "base/bit_window.h"

namespace UMC::ac3 {

inline constexpr int kMaxCouplingBands = 18;
inline constexpr int kCouplingOrigin = 37;  // bin of the first sub-band
inline constexpr int kSubBandBins = 12;

struct CouplingStrategy {
  bool inUse;
  bool coupled[kMaxFullChannels];
  bool phaseFlagsInUse;
  std::uint8_t beginCode;  // cplbegf
  std::uint8_t bandCount;
  std::uint16_t bandOffsets[kMaxCouplingBands + 1];  // bins

  [[nodiscard]] int Start() const { return bandOffsets[0]; }
  [[nodiscard]] int End() const { return bandOffsets[bandCount]; }
};

struct CouplingCoordinates {
  bool known[kMaxFullChannels];
  float factors[kMaxFullChannels][kMaxCouplingBands];
  bool phaseFlags[kMaxCouplingBands];  // the right channel of 2/0 is negated
};

// Reads a new strategy, from cplinu on. False for one that no stream may have.
bool ParseCouplingStrategy(BitWindow& stream, const BitStreamInformation& info, CouplingStrategy& strategy);

// Reads what a block says of the coordinates of a strategy in use. False where a channel has none.
bool ParseCouplingCoordinates(BitWindow& stream, const BitStreamInformation& info,
                              const CouplingStrategy& strategy, CouplingCoordinates& coordinates);

// Gives the upper bins of the full bandwidth channel `channel`, as they come from the coupling channel, its
// own level.
void Uncouple(const CouplingStrategy& strategy, const CouplingCoordinates& coordinates, int channel,
              float* coefficients);

}  // namespace UMC::ac3
