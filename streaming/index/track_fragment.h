// One track's part of a movie fragment, and the values of its samples.
#pragma once

#include <cstdint>
#include <vector>

#include "base/exact_time.h"
#include "mp4box/box.h"
#include "mp4box/boxes/tfdt.h"
#include "mp4box/boxes/tfhd.h"
#include "mp4box/boxes/trex.h"
#include "mp4box/boxes/trun.h"

// The track ID that marks an absent track.
inline constexpr std::uint32_t kNoTrack = 0xFFFFFFFFu;

// The defaults that apply where a run's samples carry no value of their own: the track fragment's, then
// the track's.
struct SampleDefaults {
  std::uint32_t duration = 0;
  std::uint32_t size = 0;
  std::uint32_t flags = 0;

  // Either may be null: its values then count as 0.
  SampleDefaults(const mp4::TrackFragmentHeaderBox* tfhd, const mp4::TrackExtendsBox* trex);
};

// The `traf` of a track in a `moof`, or null. A `traf` belongs to the track when one of its `tfhd` names
// it; a `tfhd` that is the last child of its `traf` is taken whatever track it names (kept deliberately), and
// one without payload rejects its `traf`.
Mp4Box* FindTrackFragment(const Mp4Box* moof, std::uint32_t trackId);

// The header by which a `traf` that FindTrackFragment found belongs to the track; null when it has none.
const mp4::TrackFragmentHeaderBox* TrackFragmentHeader(const Mp4Box* traf, std::uint32_t trackId);

// The run at a child of a `traf`, or null when the child is another box.
const mp4::TrackRunBox* TrackRun(const Mp4Box* child);

// One track's part of one movie fragment. The pointers belong to the box tree.
struct TrackFragment {
  Mp4Box* traf = nullptr;
  const mp4::TrackFragmentHeaderBox* tfhd = nullptr;
  const mp4::TrackFragmentDecodeTimeBox* tfdt = nullptr;
  std::vector<const mp4::TrackRunBox*> truns;  // in file order
};

// Finds the track's part; all empty when the fragment has none.
TrackFragment ReadTrackFragment(const Mp4Box* moof, std::uint32_t trackId);

// The duration of sample `index` of a run, in the track's timescale.
inline std::uint32_t SampleDuration(const mp4::TrackRunBox& run, std::uint32_t index,
                                    const SampleDefaults& d) {
  return run.hasDuration() ? run.duration(index) : d.duration;
}

// The size of sample `index` of a run, in bytes.
inline std::uint32_t SampleSize(const mp4::TrackRunBox& run, std::uint32_t index, const SampleDefaults& d) {
  return run.hasSize() ? run.size(index) : d.size;
}

// The flags of sample `index` of a run (ISO/IEC 14496-12, 8.8.3.1).
inline std::uint32_t SampleFlags(const mp4::TrackRunBox& run, std::uint32_t index, const SampleDefaults& d) {
  if (index == 0 && run.hasFirstSampleFlags()) return run.firstSampleFlags;
  return run.hasFlags() ? run.sampleFlags(index) : d.flags;
}

// The durations of the first `count` samples of a run added up; in closed form for a run whose samples
// carry none of their own.
std::uint64_t DurationOfSamples(const mp4::TrackRunBox& run, std::uint32_t count, const SampleDefaults& d);

// A caption run's duration in whole video frames: truncated sample by sample where the samples carry
// durations of their own, as a whole where they do not.
std::uint64_t CaptionFramesOf(const mp4::TrackRunBox& run, const SampleDefaults& d, std::uint32_t timescale,
                              const FrameRate& rate);

// The sizes of the first `count` samples of a run added up, likewise.
std::uint64_t SizeOfSamples(const mp4::TrackRunBox& run, std::uint32_t count, const SampleDefaults& d);

// The largest size among a run's samples.
std::uint32_t LargestSampleOf(const mp4::TrackRunBox& run, const SampleDefaults& d);

// Where a time falls among a run's samples.
struct SamplePosition {
  std::uint32_t index = 0;  // the sample; the run's sample count when the time lies behind the run
  std::uint64_t start = 0;  // the durations of the samples before it added up
};

// The first sample of a run that ends after `time` ticks from the run's start.
SamplePosition SampleAtTime(const mp4::TrackRunBox& run, std::uint64_t time, const SampleDefaults& d);
