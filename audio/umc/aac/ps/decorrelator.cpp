#include "audio/umc/aac/ps/decorrelator.h"

#include <algorithm>
#include <cstring>

#include "audio/umc/aac/ps/hybrid_bands.h"
#include "dsp/kernels/kernels.h"

namespace UMC::aac {

namespace {

constexpr std::uint32_t kSlotPeriod = 420;
static_assert(kSlotPeriod % kPsAllPassDelay == 0 && kSlotPeriod % kPsLongDelay == 0);
static_assert(kSlotPeriod % 3 == 0 && kSlotPeriod % 4 == 0 && kSlotPeriod % 5 == 0);

// Writes a slot into a delay line and reads the slot it replaces.
template <int kCount>
void Exchange(const float* in, float (&line)[kCount], float* out) {
  std::memcpy(out, line, sizeof line);
  std::memcpy(line, in, sizeof line);
}

// The gains that reduce transients (8.6.4.5.3), by hybrid band.
void MakeGains(const PsConfiguration& configuration, PsTransients& state, PsSpectrum in, float* powers,
               float* gains) {
  const PsKernels& kernels = ActiveKernels().ps;
  kernels.power(in, powers, static_cast<std::size_t>(configuration.hybridBands));
  float sums[kPsTransientBands] = {}, bandGains[kPsTransientBands];
  static_assert(kMaxPsBands <= kPsTransientBands);
  SumPsBands(configuration, powers, sums);
  const auto bands = static_cast<std::size_t>(configuration.bands);
  kernels.transientGains(state, sums, bandGains,
                         (bands + kPsTransientStep - 1) / kPsTransientStep * kPsTransientStep);
  SpreadPsBands(configuration, bandGains, gains);
}

template <class Array>
void Sweep(Array& values) {
  constexpr float kSmallest = 1e-18f, kLargest = 1e18f;
  ActiveKernels().ps.sweep(reinterpret_cast<float*>(&values), sizeof values / sizeof(float), kSmallest,
                           kLargest);
}

}  // namespace

void Decorrelate(const PsConfiguration& configuration, PsDecorrelatorState& state, PsSpectrum in,
                 PsSpectrum out, float* powers, float* gains) {
  MakeGains(configuration, state.transients, in, powers, gains);

  PsAllPassRow& waiting = state.waiting[state.slot % kPsAllPassDelay];
  PsAllPassRow* links[kPsAllPassLinks];
  PsAllPassRow* rows = state.links;
  for (int link = 0; link < kPsAllPassLinks; ++link) {
    const auto delay = static_cast<std::uint32_t>(kPsLinkDelays[link]);
    links[link] = rows + state.slot % delay;
    rows += delay;
  }
  // In ascending order: values written past a filter's bands are overwritten by the next.
  ActiveKernels().ps.allPass(configuration.allPass, {waiting[0], waiting[1]}, links, out);
  const int allPassBands = configuration.allPassBands;
  std::copy_n(in.re, allPassBands, waiting[0]);
  std::copy_n(in.im, allPassBands, waiting[1]);

  float(&longDelay)[2][kPsLongDelayBands] = state.longDelay[state.slot % kPsLongDelay];
  Exchange(in.re + allPassBands, longDelay[0], out.re + allPassBands);
  Exchange(in.im + allPassBands, longDelay[1], out.im + allPassBands);
  const int first = configuration.longDelayBands;
  Exchange(in.re + first, state.shortDelay[0], out.re + first);
  Exchange(in.im + first, state.shortDelay[1], out.im + first);
  state.slot = (state.slot + 1) % kSlotPeriod;
}

void SweepDecorrelator(PsDecorrelatorState& state) {
  Sweep(state.waiting);
  Sweep(state.links);
  Sweep(state.longDelay);
  Sweep(state.shortDelay);
  Sweep(state.transients);
}

}  // namespace UMC::aac
