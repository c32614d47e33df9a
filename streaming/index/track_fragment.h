// The part of a movie fragment that belongs to one track, and the values of its samples.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/exact_time.h"
#include "mp4box/box.h"
#include "mp4box/boxes/tfdt.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/trex.h"
#include "mp4box/boxes/trun.h"

namespace fmp4 {

// The track ID of an absent track.
inline constexpr std::uint32_t kNoTrack = 0xFFFFFFFFu;

// The defaults for values that a run's samples do not specify: those of the track fragment, then those of the
// track.
struct SampleDefaults {
  std::uint32_t duration = 0;
  std::uint32_t size = 0;
  std::uint32_t flags = 0;

  // Either may be null; its values are then 0.
  SampleDefaults(const mp4::TrackFragmentHeaderBox* tfhd, const mp4::TrackExtendsBox* trex);
};

// The `traf` of a track in a `moof`, or null. A `traf` belongs to the track when one of its `tfhd` names
// it; a `tfhd` that is the last child of its `traf` is taken whatever track it names (quirk 14), and
// one without payload rejects its `traf`.
Mp4Box* findTrackFragment(const Mp4Box* moof, std::uint32_t trackId);

// The header that assigns a `traf` found by findTrackFragment to the track; null if it has none.
const mp4::TrackFragmentHeaderBox* trackFragmentHeader(const Mp4Box* traf, std::uint32_t trackId);

// The run in a child of a `traf`, or null if the child is another box.
const mp4::TrackRunBox* trackRun(const Mp4Box* child);

// The part of a movie fragment that belongs to one track. The box tree owns the boxes pointed to.
struct TrackFragment {
  Mp4Box* traf = nullptr;
  const mp4::TrackFragmentHeaderBox* tfhd = nullptr;
  const mp4::TrackFragmentDecodeTimeBox* tfdt = nullptr;
  std::vector<const mp4::TrackRunBox*> truns;  // in file order
};

// Finds the track's part; all empty if the fragment has none.
TrackFragment readTrackFragment(const Mp4Box* moof, std::uint32_t trackId);

// The duration of sample `index` of a run, ticks of the track.
inline std::uint32_t durationOfSample(const mp4::TrackRunBox& run, std::uint32_t index,
                                      const SampleDefaults& d) {
  return run.hasDuration() ? run.duration(index) : d.duration;
}

// The size of sample `index` of a run, bytes.
inline std::uint32_t sizeOfSample(const mp4::TrackRunBox& run, std::uint32_t index, const SampleDefaults& d) {
  return run.hasSize() ? run.size(index) : d.size;
}

// The flags of sample `index` of a run (ISO/IEC 14496-12, 8.8.3.1).
inline std::uint32_t flagsOfSample(const mp4::TrackRunBox& run, std::uint32_t index,
                                   const SampleDefaults& d) {
  if (index == 0 && run.hasFirstSampleFlags()) return run.firstSampleFlags;
  return run.hasFlags() ? run.sampleFlags(index) : d.flags;
}

// The total duration of the first `count` samples of a run; constant time for a run whose samples have no
// durations of their own. A run is a mp4::TrackRunBox or a RunBytes.
template <class Run>
std::uint64_t durationOfSamples(const Run& run, std::uint32_t count, const SampleDefaults& d) {
  if (!run.hasDuration()) return std::uint64_t{count} * d.duration;
  std::uint64_t sum = 0;
  for (std::uint32_t i = 0; i < count; ++i) sum += run.duration(i);
  return sum;
}

// The duration of a caption run in video frames: truncated per sample if the samples have durations of their
// own, otherwise truncated once.
template <class Run>
std::uint64_t captionFramesOf(const Run& run, const SampleDefaults& d, std::uint32_t timescale,
                              const FrameRate& rate) {
  if (!run.hasDuration()) return framesOf(durationOfSamples(run, run.sampleCount, d), timescale, rate);
  std::uint64_t frames = 0;
  for (std::uint32_t i = 0; i < run.sampleCount; ++i) {
    frames = addSaturated(frames, framesOf(run.duration(i), timescale, rate));
  }
  return frames;
}

// The total size of the first `count` samples of a run; likewise.
template <class Run>
std::uint64_t sizeOfSamples(const Run& run, std::uint32_t count, const SampleDefaults& d) {
  if (!run.hasSize()) return std::uint64_t{count} * d.size;
  std::uint64_t sum = 0;
  for (std::uint32_t i = 0; i < count; ++i) sum += run.size(i);
  return sum;
}

// The largest sample size in a run.
template <class Run>
std::uint32_t largestSampleOf(const Run& run, const SampleDefaults& d) {
  if (!run.hasSize()) return run.sampleCount ? d.size : 0;
  std::uint32_t largest = 0;
  for (std::uint32_t i = 0; i < run.sampleCount; ++i) largest = std::max(largest, run.size(i));
  return largest;
}

// The sample of a run at a given time.
struct SamplePosition {
  std::uint32_t index = 0;  // the sample; the run's sample count if the time is past its end
  std::uint64_t start = 0;  // total duration of the samples before it
};

// The first sample of a run that ends more than `time` ticks after the start of the run.
SamplePosition sampleAtTime(const mp4::TrackRunBox& run, std::uint64_t time, const SampleDefaults& d);

}  // namespace fmp4
