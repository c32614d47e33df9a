// Coupling: the upper bins of several channels coded as one, with coordinates that restore each channel's
// level (ATSC A/52, 7.4).
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
  bool phaseFlags[kMaxCouplingBands];  // the right channel of 2/0 is negated in this band
};

// Reads a new strategy, starting at cplinu. False if it is invalid.
bool ParseCouplingStrategy(fmp4::BitWindow& stream, const BitStreamInformation& info,
                           CouplingStrategy& strategy);

// Reads a block's coordinates for a strategy in use. False if a channel has none.
bool ParseCouplingCoordinates(fmp4::BitWindow& stream, const BitStreamInformation& info,
                              const CouplingStrategy& strategy, CouplingCoordinates& coordinates);

// Restores the levels of the upper bins of the full bandwidth channel `channel`, which hold the coupling
// channel's coefficients.
void Uncouple(const CouplingStrategy& strategy, const CouplingCoordinates& coordinates, int channel,
              float* coefficients);

}  // namespace UMC::ac3
