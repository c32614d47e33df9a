// The bands that parameters of parametric stereo are sent and applied in (ISO/IEC 14496-3, 8.6.4.6.1).
#pragma once

#include <cstdint>

namespace UMC::aac {

inline constexpr int kMaxPsBands = 34;
inline constexpr int kMaxPsPhaseBands = 17;

// How many bands a parameter is sent in, and how many the phases that go with it.
struct PsResolution {
  int bands;
  int phaseBands;
};

// Modes of iid_mode and icc_mode that are not reserved.
inline constexpr int kPsModes = 6;
// Of one of them (table 8.23).
PsResolution PsResolutionOf(int mode);

// Indices of 10, 20 or 34 bands in another of these resolutions.
void MapPsIndices(const std::int8_t* from, int fromBands, int toBands, std::int8_t* to);
// Indices of phases of 5, 11 or 17 bands.
void MapPsPhases(const std::int8_t* from, int fromBands, int toBands, std::int8_t* to);
// Coefficients of 20 bands in 34, or of 34 in 20.
void MapPsCoefficients(const float* from, int fromBands, int toBands, float* to);

}  // namespace UMC::aac
