// The frequency bands of transmitted and applied parametric stereo parameters (ISO/IEC 14496-3, 8.6.4.6.1).
#pragma once

#include <cstdint>

namespace UMC::aac {

inline constexpr int kMaxPsBands = 34;
inline constexpr int kMaxPsPhaseBands = 17;

// The number of bands of a parameter, and of the accompanying phases.
struct PsResolution {
  int bands;
  int phaseBands;
};

// Values of iid_mode and icc_mode that are not reserved.
inline constexpr int kPsModes = 6;
// The resolution of a mode (table 8.23).
PsResolution PsResolutionOf(int mode);

// Maps indices between resolutions of 10, 20 and 34 bands.
void MapPsIndices(const std::int8_t* from, int fromBands, int toBands, std::int8_t* to);
// Maps phase indices between resolutions of 5, 11 and 17 bands.
void MapPsPhases(const std::int8_t* from, int fromBands, int toBands, std::int8_t* to);
// Maps coefficients from 20 to 34 bands, or from 34 to 20.
void MapPsCoefficients(const float* from, int fromBands, int toBands, float* to);

}  // namespace UMC::aac
