#include "streaming/index/audio_timeline.h"

#include <algorithm>

namespace fmp4 {

namespace {

// Every so many fragments have their start stored.
constexpr std::size_t kStartInterval = 64;

}  // namespace

AudioTimeline::AudioTimeline(FragmentIndex& index, const IndexedTrack& track, std::size_t audio,
                             const AudioClock& start)
    : track_(track), audio_(audio) {
  FragmentStart at{0, 0, start};
  std::uint64_t ticks = 0;
  std::uint64_t unitsLeft = index.stream().size();
  bool mayGap = false;
  const std::size_t fragments = index.occupied();
  while (at.rank < fragments) {
    if (at.rank % kStartInterval == 0 || mayGap) starts_.push_back(at);
    const std::uint32_t units = index.audioAmount(audio, at.rank).units;
    if (units == AudioAmount::kUnknown || units > unitsLeft) break;
    unitsLeft -= units;
    mayGap = !pass(index, at, ticks);
  }
  end_ = at.rank;
  units_ = at.number;
  length_ = start.frames(ticks);
}

bool AudioTimeline::pass(FragmentIndex& index, FragmentStart& at, std::uint64_t& ticks) const {
  const AudioAmount& amount = index.audioAmount(audio_, at.rank);
  const bool counted = at.clock.pass(amount);
  ticks = addSaturated(ticks, counted ? amount.ticks : passUnits(index, at));
  at.number += amount.units;
  ++at.rank;
  return counted;
}

std::uint64_t AudioTimeline::passUnits(FragmentIndex& index, FragmentStart& at) const {
  const Runs runs = load(index, at.rank);
  const SampleDefaults defaults(runs.part.tfhd, track_.trex);
  std::uint64_t ticks = 0;
  for (const mp4::TrackRunBox* run : runs.part.truns) {
    ticks = addSaturated(ticks, durationOfSamples(*run, run->sampleCount, defaults));
    if (run->hasDuration()) {
      for (std::uint32_t i = 0; i < run->sampleCount; ++i) at.clock.pass(run->duration(i));
    } else {
      at.clock.pass(defaults.duration, run->sampleCount);
    }
  }
  return ticks;
}

AudioTimeline::Runs AudioTimeline::load(FragmentIndex& index, std::size_t rank) const {
  ReadWindow none;
  Runs runs;
  const FragmentEntry* const entry = index.entry(index.fragmentIndexAt(rank));
  if (entry && index.load(*entry, none, runs.loaded).ok())
    runs.part = readTrackFragment(runs.loaded->moof, track_.trackId);
  return runs;
}

template <class Stop>
std::optional<AudioTimeline::FragmentStart> AudioTimeline::lastFragmentBefore(FragmentIndex& index,
                                                                              Stop stop) const {
  auto after = std::partition_point(starts_.begin(), starts_.end(), [&stop](const FragmentStart& start) {
    return !stop(start.number, start.clock);
  });
  std::size_t limit = after == starts_.end() ? end_ : after->rank;
  while (after != starts_.begin()) {
    std::optional<FragmentStart> last;
    FragmentStart at = *--after;
    const std::size_t first = at.rank;
    std::uint64_t ticks = 0;
    while (at.rank < limit && !stop(at.number, at.clock)) {
      if (index.audioAmount(audio_, at.rank).units != 0) last = at;
      if (at.rank + 1 == limit) break;
      pass(index, at, ticks);
    }
    if (last) return last;
    limit = first;
  }
  return std::nullopt;
}

template <class Stop>
std::optional<AudioUnit> AudioTimeline::lastBefore(FragmentIndex& index, Stop stop) const {
  const std::optional<FragmentStart> from = lastFragmentBefore(index, stop);
  if (!from) return std::nullopt;
  std::optional<AudioUnit> last;
  const Runs runs = load(index, from->rank);
  const SampleDefaults defaults(runs.part.tfhd, track_.trex);
  AudioUnit unit{index.fragmentIndexAt(from->rank), 0, 0, from->number, from->clock};
  for (const mp4::TrackRunBox* run : runs.part.truns) {
    for (unit.sampleIndex = 0; unit.sampleIndex < run->sampleCount; ++unit.sampleIndex) {
      if (stop(unit.number, unit.clock)) return last;
      last = unit;
      unit.clock.pass(durationOfSample(*run, unit.sampleIndex, defaults));
      ++unit.number;
    }
    ++unit.trunIndex;
  }
  return last;
}

std::optional<AudioUnit> AudioTimeline::find(FragmentIndex& index, std::uint64_t position) const {
  return lastBefore(
      index, [position](std::uint64_t, const AudioClock& clock) { return clock.position() > position; });
}

std::optional<AudioUnit> AudioTimeline::at(FragmentIndex& index, std::uint64_t number) const {
  auto found =
      lastBefore(index, [number](std::uint64_t candidate, const AudioClock&) { return candidate > number; });
  if (found && found->number != number) found.reset();
  return found;
}

}  // namespace fmp4
