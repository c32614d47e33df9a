// A track's reading position: the fragment it has loaded, the run and the sample it stands at.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "streaming/index/fragment_index.h"

struct TrackCursor {
  Mp4Box* moof = nullptr;           // the loaded fragment, null when none is
  std::uint32_t fragmentIndex = 0;  // its place in the index
  const mp4::TrackFragmentHeaderBox* tfhd = nullptr;
  // A window over the sample bytes, allocated by a load with data. Bytes come in when a sample is asked
  // for: scrubbing reads single frames, playing reads ahead, and neither holds a whole fragment.
  std::unique_ptr<std::uint8_t[]> data;
  std::size_t dataCapacity = 0;
  const mp4::TrackExtendsBox* trex = nullptr;
  const mp4::TrackFragmentDecodeTimeBox* tfdt = nullptr;
  std::vector<const mp4::TrackRunBox*> truns;
  std::vector<std::uint64_t> runOffsets;  // file offset of each run's first byte
  std::uint32_t trackId = kNoTrack;
  std::uint32_t trunIndex = 0;    // current run in `truns`
  std::uint32_t sampleIndex = 0;  // current sample in that run; the run's sample count behind its last
  std::uint32_t timescale = 0;    // ticks a second

  // Where the current sample stands on the track: frames for video and CEA-708, ticks for audio, the
  // sample's first frame for CEA-608.
  std::uint64_t position = 0;
  SampleDefaults defaults{nullptr, nullptr};
  std::uint64_t sampleOffset = 0;  // bytes of the run before the current sample
  std::uint64_t windowOffset = 0;  // file offset of data[0]
  std::size_t windowFill = 0;      // bytes of `data` in use

  // Whether a fragment is loaded with its data window.
  bool loaded() const { return moof && tfhd && data && !truns.empty(); }
  const mp4::TrackRunBox& run() const { return *truns[trunIndex]; }
  // File offset of the current run's first byte.
  std::uint64_t runOffset() const { return runOffsets[trunIndex]; }
  // Whether the cursor stands behind its run's last sample.
  bool atRunEnd() const { return sampleIndex >= run().sampleCount; }
  std::uint32_t sampleSize() const { return SampleSize(run(), sampleIndex, defaults); }
  std::uint32_t sampleDuration() const { return SampleDuration(run(), sampleIndex, defaults); }
  std::uint32_t sampleFlags() const { return SampleFlags(run(), sampleIndex, defaults); }

  // Moves to a sample of the current run.
  void standAt(std::uint32_t sample) {
    sampleIndex = sample;
    sampleOffset = SizeOfSamples(run(), sample, defaults);
  }
  // Moves to the next sample of the current run.
  void nextSample() {
    sampleOffset = addSaturated(sampleOffset, sampleSize());
    ++sampleIndex;
  }
  // Forgets the fragment and frees the window; the track stays.
  void clear();
};

// A cursor for a track of the index, not loaded.
TrackCursor MakeTrackCursor(const IndexedTrack& track);

// Loads a fragment's runs into a cursor, standing at the first sample of run `trunIndex`, with a data window
// when `loadData` is set and freeing it otherwise. Loading with data what is so loaded already does nothing.
// A fragment without the track loads with no runs. Returns 0, or -1 after reporting why, the cursor cleared.
int LoadFragment(FragmentIndex& index, std::uint32_t fragmentIndex, std::uint32_t trunIndex, bool loadData,
                 TrackCursor& cursor);

// Outcome of moving a cursor on to where there is a sample.
enum class Advance { Ready, NoRun, NoFragment };

// When the cursor stands behind its run's last sample, moves it to the next run that has samples: of this
// fragment, or of the next one that carries the track. NoRun: a run of the same fragment failed to load;
// NoFragment: no further fragment carries the track.
Advance AdvanceRun(FragmentIndex& index, bool loadData, TrackCursor& cursor);

// Copies the current sample's bytes to `destination` (sampleSize() bytes) without moving on. Returns 0, or
// -1 when the file does not hold them all.
int ReadSample(FragmentIndex& index, TrackCursor& cursor, std::uint8_t* destination);

// Copies `count` bytes from a file offset through the cursor's window. Returns 0 or -1.
int ReadThroughWindow(FragmentIndex& index, TrackCursor& cursor, std::uint64_t offset, std::uint64_t count,
                      std::uint8_t* destination);
