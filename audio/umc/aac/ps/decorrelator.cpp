#include "audio/umc/aac/ps/decorrelator.h"

#include <algorithm>
#include <cmath>

#include "dsp/kernels/kernels.h"

namespace UMC::aac {

namespace {

constexpr std::uint32_t kSlotPeriod = 420;
static_assert(kSlotPeriod % kPsAllPassDelay == 0 && kSlotPeriod % kPsLongDelay == 0);
static_assert(kSlotPeriod % 3 == 0 && kSlotPeriod % 4 == 0 && kSlotPeriod % 5 == 0);

// Writes a slot into a delay line and reads the slot it replaces.
void Exchange(const float* in, float* line, float* out, int count) {
  for (int i = 0; i < count; ++i) {
    const float held = line[i];
    line[i] = in[i];
    out[i] = held;
  }
}

void SumPowers(const PsConfiguration& configuration, const float* powers, float* sums) {
  std::fill_n(sums, configuration.bands, 0.0f);
  for (int k = 0; k < configuration.hybridBands; ++k) sums[configuration.bandOf[k]] += powers[k];
}

// Transient reduction (8.6.4.5.3): the gain for a parameter band of the given power.
float TransientGain(float power, float& peak, float& smoothPower, float& smoothDifference) {
  constexpr float kPeakDecay = 0.76592833836465f;
  constexpr float kSmoothing = 0.25f;
  constexpr float kImpact = 1.5f;
  peak = std::max(peak * kPeakDecay, power);
  smoothPower += kSmoothing * (power - smoothPower);
  smoothDifference += kSmoothing * (peak - power - smoothDifference);
  const float limit = kImpact * smoothDifference;
  return limit > smoothPower ? smoothPower / limit : 1.0f;
}

template <class Array>
void Sweep(Array& values) {
  constexpr float kSmallest = 1e-18f, kLargest = 1e18f;
  float* first = reinterpret_cast<float*>(&values);
  for (std::size_t i = 0; i < sizeof values / sizeof(float); ++i) {
    const float magnitude = std::fabs(first[i]);
    const bool kept = magnitude > kSmallest && magnitude < kLargest;
    first[i] = kept ? first[i] : 0.0f;
  }
}

}  // namespace

void Decorrelate(const PsConfiguration& configuration, PsDecorrelatorState& state, PsSpectrum in,
                 PsSpectrum out, float* powers, float* gains) {
  const PsKernels& kernels = ActiveKernels().ps;
  kernels.power(in, powers, static_cast<std::size_t>(configuration.hybridBands));
  float sums[kMaxPsBands];
  SumPowers(configuration, powers, sums);
  float bandGains[kMaxPsBands];
  for (int band = 0; band < configuration.bands; ++band) {
    bandGains[band] = TransientGain(sums[band], state.peak[band], state.power[band], state.difference[band]);
  }
  for (int k = 0; k < configuration.hybridBands; ++k) gains[k] = bandGains[configuration.bandOf[k]];

  PsAllPassRow& waiting = state.waiting[state.slot % kPsAllPassDelay];
  PsAllPassRow* links[kPsAllPassLinks];
  PsAllPassRow* rows = state.links;
  for (int link = 0; link < kPsAllPassLinks; ++link) {
    const auto delay = static_cast<std::uint32_t>(kPsLinkDelays[link]);
    links[link] = rows + state.slot % delay;
    rows += delay;
  }
  // In ascending order: values written past a filter's bands are overwritten by the next.
  kernels.allPass(configuration.allPass, {waiting[0], waiting[1]}, links, out);
  const int allPassBands = configuration.allPassBands;
  std::copy_n(in.re, allPassBands, waiting[0]);
  std::copy_n(in.im, allPassBands, waiting[1]);

  float(&longDelay)[2][kPsLongDelayBands] = state.longDelay[state.slot % kPsLongDelay];
  const int longBands = configuration.longDelayBands - allPassBands;
  Exchange(in.re + allPassBands, longDelay[0], out.re + allPassBands, longBands);
  Exchange(in.im + allPassBands, longDelay[1], out.im + allPassBands, longBands);
  const int first = configuration.longDelayBands;
  const int shortBands = configuration.hybridBands - first;
  Exchange(in.re + first, state.shortDelay[0], out.re + first, shortBands);
  Exchange(in.im + first, state.shortDelay[1], out.im + first, shortBands);
  state.slot = (state.slot + 1) % kSlotPeriod;
}

void SweepDecorrelator(PsDecorrelatorState& state) {
  Sweep(state.waiting);
  Sweep(state.links);
  Sweep(state.longDelay);
  Sweep(state.shortDelay);
  Sweep(state.peak);
  Sweep(state.power);
  Sweep(state.difference);
}

}  // namespace UMC::aac
