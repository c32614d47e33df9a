#include "audio/umc/aac/ps/mixing.h"

#include <algorithm>
#include <complex>
#include <numbers>

#include "audio/umc/aac/ps/hybrid_bands.h"

namespace UMC::aac {

namespace {

using Phase = std::complex<float>;

// The order in the mixer: left and right of the direct signal, then of the decorrelated one.
enum { kH11, kH12, kH21, kH22, kImaginary };

Phase Turn(std::int8_t eighths) {
  constexpr float kHalf = std::numbers::sqrt2_v<float> / 2;
  constexpr Phase kTurns[8] = {{1, 0},  {kHalf, kHalf},   {0, 1},  {-kHalf, kHalf},
                               {-1, 0}, {-kHalf, -kHalf}, {0, -1}, {kHalf, -kHalf}};
  return kTurns[eighths & 7];
}

// The weighted direction of a phase and the two before it; never zero, as the latest has the largest weight.
Phase Smooth(std::int8_t now, std::int8_t before, std::int8_t earlier) {
  const Phase sum = Turn(now) + 0.5f * Turn(before) + 0.25f * Turn(earlier);
  return sum / std::abs(sum);
}

void SetCoefficient(PsCoefficients& made, int kind, int band, Phase value) {
  made.h[kind][band] = value.real();
  made.h[kind + kImaginary][band] = value.imag();
}

bool IsComplex(const PsCoefficients& coefficients) {
  return std::any_of(&coefficients.h[kImaginary][0], &coefficients.h[kImaginary][0] + 4 * kMaxPsBands,
                     [](float part) { return part != 0; });
}

PsCoefficients MakeCoefficients(const PsConfiguration& configuration, const PsData& data,
                                const PsEnvelope& envelope, PsMixingState& state) {
  std::int8_t iid[kMaxPsBands], icc[kMaxPsBands], ipd[kMaxPsPhaseBands], opd[kMaxPsPhaseBands];
  const PsResolution iidResolution = PsResolutionOf(data.iidMode);
  MapPsIndices(envelope.iid, iidResolution.bands, configuration.bands, iid);
  MapPsIndices(envelope.icc, PsResolutionOf(data.iccMode).bands, configuration.bands, icc);
  MapPsPhases(envelope.ipd, iidResolution.phaseBands, configuration.phaseBands, ipd);
  MapPsPhases(envelope.opd, iidResolution.phaseBands, configuration.phaseBands, opd);

  PsCoefficients made{};
  const auto& mixing = SharedPsTables().mixing[data.MixingB() ? 1 : 0][data.FineIid() ? 1 : 0];
  for (int band = 0; band < configuration.bands; ++band) {
    const PsMixing& h = mixing[iid[band] + kMaxIid[1]][icc[band]];
    Phase first = 1, second = 1;
    if (data.phasesEnabled && band < configuration.phaseBands) {
      first = Smooth(opd[band], state.opd[0][band], state.opd[1][band]);
      second = first * std::conj(Smooth(ipd[band], state.ipd[0][band], state.ipd[1][band]));
      state.opd[1][band] = state.opd[0][band];
      state.opd[0][band] = opd[band];
      state.ipd[1][band] = state.ipd[0][band];
      state.ipd[0][band] = ipd[band];
    }
    SetCoefficient(made, kH11, band, h.h11 * first);
    SetCoefficient(made, kH12, band, h.h12 * second);
    SetCoefficient(made, kH21, band, h.h21 * first);
    SetCoefficient(made, kH22, band, h.h22 * second);
  }
  return made;
}

// Copies the coefficients of the first `kinds` kinds to the hybrid bands.
void Spread(const PsConfiguration& configuration, const PsCoefficients& coefficients, int kinds,
            float (&spread)[8][kPsHybridBands]) {
  for (int kind = 0; kind < kinds; ++kind) {
    SpreadPsBands(configuration, coefficients.h[kind], spread[kind]);
  }
  for (int kind = kImaginary; kind < kinds; ++kind) {
    for (int k = configuration.firstConjugate; k < configuration.endConjugate; ++k) spread[kind][k] *= -1;
  }
}

// The number of kinds that the mixer uses.
int KindsOf(bool isComplex) {
  return isComplex ? 8 : kImaginary;
}

// The change per slot.
PsCoefficients StepBetween(const PsCoefficients& from, const PsCoefficients& to, int bands, int slots) {
  PsCoefficients step{};
  const float share = 1.0f / static_cast<float>(slots);
  for (int kind = 0; kind < 8; ++kind) {
    for (int band = 0; band < bands; ++band) {
      step.h[kind][band] = (to.h[kind][band] - from.h[kind][band]) * share;
    }
  }
  return step;
}

}  // namespace

void StartMixing(PsMixingState& state) {
  state = {};
  std::fill_n(state.last.h[kH11], kMaxPsBands, 1.0f);
  std::fill_n(state.last.h[kH12], kMaxPsBands, 1.0f);
}

void ConvertMixing(const PsConfiguration& from, const PsConfiguration& to, PsMixingState& state) {
  PsMixingState converted{};
  for (int kind = 0; kind < 8; ++kind) {
    MapPsCoefficients(state.last.h[kind], from.bands, to.bands, converted.last.h[kind]);
  }
  state = converted;
}

bool AimMixer(const PsConfiguration& configuration, const PsData& data, const PsEnvelope& envelope, int slots,
              PsMixingState& state, PsMixer& mixer) {
  const PsCoefficients before = state.last;
  state.last = MakeCoefficients(configuration, data, envelope, state);
  const bool isComplex = IsComplex(before) || IsComplex(state.last);
  const int kinds = KindsOf(isComplex);
  Spread(configuration, before, kinds, mixer.h);
  Spread(configuration, StepBetween(before, state.last, configuration.bands, slots), kinds, mixer.step);
  return isComplex;
}

bool HoldMixer(const PsConfiguration& configuration, const PsMixingState& state, PsMixer& mixer) {
  const bool isComplex = IsComplex(state.last);
  Spread(configuration, state.last, KindsOf(isComplex), mixer.h);
  std::fill_n(&mixer.step[0][0], 8 * kPsHybridBands, 0.0f);
  return isComplex;
}

}  // namespace UMC::aac
