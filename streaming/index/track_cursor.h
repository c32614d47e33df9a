// The read position in a track: the loaded fragment, the current run and the current sample.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "streaming/index/fragment_index.h"

struct TrackCursor {
  Mp4Box* moof = nullptr;           // the loaded fragment; null if none
  std::uint32_t fragmentIndex = 0;  // fragment index of `moof`
  const mp4::TrackFragmentHeaderBox* tfhd = nullptr;
  // A window over the sample bytes, allocated by a load with data. It is filled when a sample is read:
  // scrubbing reads single frames, playback reads ahead, and neither holds a complete fragment.
  std::unique_ptr<std::uint8_t[]> data;
  std::size_t dataCapacity = 0;
  const mp4::TrackExtendsBox* trex = nullptr;
  const mp4::TrackFragmentDecodeTimeBox* tfdt = nullptr;
  std::vector<const mp4::TrackRunBox*> truns;
  std::vector<std::uint64_t> runOffsets;  // file offset of the first byte of each run
  std::uint32_t trackId = kNoTrack;
  std::uint32_t trunIndex = 0;    // current run in `truns`
  std::uint32_t sampleIndex = 0;  // current sample in that run; the run's sample count past its end
  std::uint32_t timescale = 0;    // ticks per second

  // Position of the current sample in the track: frames for video and CEA-708, ticks for audio, the sample's
  // first frame for CEA-608.
  std::uint64_t position = 0;
  SampleDefaults defaults{nullptr, nullptr};
  std::uint64_t sampleOffset = 0;  // bytes of the run before the current sample
  std::uint64_t windowOffset = 0;  // file offset of data[0]
  std::size_t windowFill = 0;      // bytes used in `data`

  // Whether a fragment is loaded with its data window.
  bool loaded() const { return moof && tfhd && data && !truns.empty(); }
  const mp4::TrackRunBox& run() const { return *truns[trunIndex]; }
  // File offset of the current run's first byte.
  std::uint64_t runOffset() const { return runOffsets[trunIndex]; }
  // Whether the cursor is past the last sample of its run.
  bool atRunEnd() const { return sampleIndex >= run().sampleCount; }
  std::uint32_t sampleSize() const { return sizeOfSample(run(), sampleIndex, defaults); }
  std::uint32_t sampleDuration() const { return durationOfSample(run(), sampleIndex, defaults); }
  std::uint32_t sampleFlags() const { return flagsOfSample(run(), sampleIndex, defaults); }

  // Moves to a sample of the current run.
  void seekToUnit(std::uint32_t sample) {
    sampleIndex = sample;
    sampleOffset = sizeOfSamples(run(), sample, defaults);
  }
  // Moves to the next sample of the current run.
  void nextSample() {
    sampleOffset = addSaturated(sampleOffset, sampleSize());
    ++sampleIndex;
  }
  // Releases the fragment and the window; the track is kept.
  void clear();
};

// A cursor for a track of the index, with no fragment loaded.
TrackCursor makeTrackCursor(const IndexedTrack& track);

// Loads the runs of a fragment and moves to the first sample of run `trunIndex`. Allocates a data window if
// `loadData` is set, otherwise frees it. Does nothing if `loadData` is set and the run is already loaded with
// data. A fragment without the track loads with no runs. Returns 0, or -1 with the cursor cleared after
// reporting the reason.
int LoadFragment(FragmentIndex& index, std::uint32_t fragmentIndex, std::uint32_t trunIndex, bool loadData,
                 TrackCursor& cursor);

// Result of moving a cursor to the next available sample.
enum class Advance { Ready, NoRun, NoFragment };

// If the cursor is past the last sample of its run, moves it to the next run with samples: of this fragment,
// or of the next one with the track. NoRun: a run of the same fragment failed to load; NoFragment: no further
// fragment contains the track.
Advance advanceRun(FragmentIndex& index, bool loadData, TrackCursor& cursor);

// Copies the bytes of the current sample to `destination` (sampleSize() bytes) without advancing. Returns 0,
// or -1 if the file does not contain all of them.
int readSample(FragmentIndex& index, TrackCursor& cursor, std::uint8_t* destination);

// Copies `count` bytes from a file offset through the cursor's window. Returns 0 or -1.
int readThroughWindow(FragmentIndex& index, TrackCursor& cursor, std::uint64_t offset, std::uint64_t count,
                      std::uint8_t* destination);
