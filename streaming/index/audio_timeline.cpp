#include "streaming/index/audio_timeline.h"

#include <algorithm>

void AudioClock::pass(std::uint32_t ticks) {
  ticks_ = addSaturated(ticks_, ticks);
  const std::uint64_t next = addSaturated(position_, unitFrames_);
  const std::uint64_t stated = frames(ticks_);
  position_ = stated >= addSaturated(next, unitFrames_ / 2) ? stated : next;
}

void AudioClock::pass(std::uint32_t ticks, std::uint32_t count) {
  // Stated durations equal to the decoded duration leave the difference unchanged.
  if (std::uint64_t{ticks} * sampleRate_ == std::uint64_t{unitFrames_} * timescale_) {
    ticks_ = addSaturated(ticks_, std::uint64_t{ticks} * count);
    position_ = addSaturated(position_, std::uint64_t{unitFrames_} * count);
    return;
  }
  for (; count > 0; --count) pass(ticks);
}

AudioTimeline::AudioTimeline(FragmentIndex& index, const IndexedTrack& track, const AudioClock& start)
    : track_(track) {
  AudioClock clock = start;
  std::uint64_t ticks = 0;
  std::uint64_t unitsLeft = index.stream().size();
  for (std::uint32_t place = index.nextOccupied(0); place < index.fragmentCount();
       place = index.nextOccupied(place + 1)) {
    const TrackFragment fragment = readTrackFragment(index.entry(place)->moof, track.trackId);
    if (fragment.truns.empty()) continue;
    for (const mp4::TrackRunBox* run : fragment.truns) {
      if (run->sampleCount > unitsLeft) return;
      unitsLeft -= run->sampleCount;
    }
    fragments_.push_back({place, units_, clock});
    const SampleDefaults defaults(fragment.tfhd, track.trex);
    for (const mp4::TrackRunBox* run : fragment.truns) {
      units_ += run->sampleCount;
      ticks = addSaturated(ticks, durationOfSamples(*run, run->sampleCount, defaults));
      if (run->hasDuration()) {
        for (std::uint32_t i = 0; i < run->sampleCount; ++i) clock.pass(run->duration(i));
      } else {
        clock.pass(defaults.duration, run->sampleCount);
      }
    }
    length_ = start.frames(ticks);
  }
}

template <class Stop>
std::optional<AudioUnit> AudioTimeline::lastBefore(FragmentIndex& index, const FragmentStart& from,
                                                   Stop stop) const {
  std::optional<AudioUnit> last;
  const TrackFragment fragment = readTrackFragment(index.entry(from.fragmentIndex)->moof, track_.trackId);
  const SampleDefaults defaults(fragment.tfhd, track_.trex);
  AudioUnit unit{from.fragmentIndex, 0, 0, from.number, from.clock};
  for (const mp4::TrackRunBox* run : fragment.truns) {
    for (unit.sampleIndex = 0; unit.sampleIndex < run->sampleCount; ++unit.sampleIndex) {
      if (stop(unit)) return last;
      last = unit;
      unit.clock.pass(durationOfSample(*run, unit.sampleIndex, defaults));
      ++unit.number;
    }
    ++unit.trunIndex;
  }
  return last;
}

bool AudioTimeline::find(FragmentIndex& index, std::uint64_t position, AudioUnit& unit) const {
  auto behind = std::upper_bound(
      fragments_.begin(), fragments_.end(), position,
      [](std::uint64_t wanted, const FragmentStart& start) { return wanted < start.clock.position(); });
  while (behind != fragments_.begin()) {
    --behind;
    const auto found = lastBefore(index, *behind, [position](const AudioUnit& candidate) {
      return candidate.clock.position() > position;
    });
    if (!found) continue;  // a fragment whose runs have no access units
    unit = *found;
    return true;
  }
  return false;
}

bool AudioTimeline::at(FragmentIndex& index, std::uint64_t number, AudioUnit& unit) const {
  auto behind = std::upper_bound(
      fragments_.begin(), fragments_.end(), number,
      [](std::uint64_t wanted, const FragmentStart& start) { return wanted < start.number; });
  while (behind != fragments_.begin()) {
    --behind;
    const auto found = lastBefore(index, *behind,
                                  [number](const AudioUnit& candidate) { return candidate.number > number; });
    if (!found) continue;  // a fragment whose runs have no access units
    unit = *found;
    return unit.number == number;
  }
  return false;
}
