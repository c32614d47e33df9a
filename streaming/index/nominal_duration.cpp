#include "streaming/index/nominal_duration.h"

#include <utility>

namespace fmp4 {

namespace {

// Fragments are examined until they contain this many samples.
constexpr std::uint64_t kEnoughSamples = 24;

// Limit on the fragments with the track: samples without duration never reach the count above.
constexpr std::uint32_t kMostFragments = 64;

// A fragment may claim millions of samples with individual durations: this many are representative.
constexpr std::uint64_t kMaxSamplesCounted = 1 << 16;

}  // namespace

void NominalDuration::addFragment(const TrackFragment& fragment, const SampleDefaults& defaults) {
  for (const mp4::TrackRunBox* run : fragment.truns) {
    if (!run->hasDuration()) {
      addSamples(defaults.duration, run->sampleCount);
      continue;
    }
    for (std::uint32_t i = 0; i < run->sampleCount && samples_ < kMaxSamplesCounted; ++i) {
      addSamples(run->duration(i));
    }
  }
  endFragment();
}

void NominalDuration::addSamples(std::uint32_t duration, std::uint64_t count) {
  carried_ = carried_ || count != 0;
  if (duration == 0 || count == 0 || converged() || samples_ >= kMaxSamplesCounted) return;
  samples_ += count;
  samplesOf_[duration] += count;
}

void NominalDuration::endFragment() {
  endedAt_ = samples_;
  if (std::exchange(carried_, false)) ++fragments_;
}

bool NominalDuration::converged() const {
  return trackDefault_ != 0 || endedAt_ >= kEnoughSamples || fragments_ >= kMostFragments;
}

std::uint32_t NominalDuration::value() const {
  if (trackDefault_ != 0) return trackDefault_;
  std::uint32_t nominal = 0;
  std::uint64_t most = 0;
  for (const auto& [duration, samples] : samplesOf_) {
    if (samples <= most) continue;
    nominal = duration;
    most = samples;
  }
  return nominal;
}

}  // namespace fmp4
