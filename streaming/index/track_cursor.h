// The read position in a track: the loaded fragment, the current run and the current sample.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "streaming/index/fragment_index.h"
#include "streaming/index/read_window.h"

namespace fmp4 {

// Result of moving a cursor to the next available sample.
enum class Advance { Ready, NoRun, NoFragment, Unread };

// Whether a failure says nothing about the file: the host could not read it, or memory was short. The same
// may succeed another time.
inline bool leftUnread(Result result) {
  return result == Defect::ReadFailed || result.kind() == DefectKind::NoMemory;
}

class TrackCursor {
 public:
  // A cursor without a track.
  TrackCursor() = default;
  // A cursor for a track of the index, with no fragment loaded.
  explicit TrackCursor(const IndexedTrack& track) : track_(track) {}

  // Each loads the runs of a fragment and moves to the first sample of run `trunIndex`. A fragment without
  // the track loads with no runs. A failure clears the cursor, after reporting the reason.
  //
  // For reading samples: allocates a data window. Does nothing if the run is already loaded with one.
  [[nodiscard]] Result LoadFragment(FragmentIndex& index, std::uint32_t fragmentIndex,
                                    std::uint32_t trunIndex);
  // For looking at samples without reading them: frees the data window.
  [[nodiscard]] Result locateFragment(FragmentIndex& index, std::uint32_t fragmentIndex,
                                      std::uint32_t trunIndex);
  // For looking at samples before one of the above: keeps the data window, if there is one.
  [[nodiscard]] Result enterFragment(FragmentIndex& index, std::uint32_t fragmentIndex);

  // Whether a fragment is loaded with its data window.
  bool loaded() const { return moof() && tfhd() && window_.isOpen() && !truns().empty(); }
  // Releases the fragment and the window; the track is kept.
  void clear();

  // The loaded fragment; null if none. Shared with the index, and valid while it is loaded here.
  const Mp4Box* moof() const { return fragment_ ? fragment_->moof : nullptr; }
  std::uint32_t fragmentIndex() const { return fragmentIndex_; }
  // Its part of the track.
  const mp4::TrackFragmentHeaderBox* tfhd() const { return part_.tfhd; }
  const mp4::TrackFragmentDecodeTimeBox* tfdt() const { return part_.tfdt; }
  const std::vector<const mp4::TrackRunBox*>& truns() const { return part_.truns; }
  const SampleDefaults& defaults() const { return defaults_; }
  std::uint32_t timescale() const { return track_.timescale; }  // ticks per second

  // The current run, which exists if the fragment has runs.
  std::uint32_t trunIndex() const { return trunIndex_; }
  const mp4::TrackRunBox& run() const { return *truns()[trunIndex_]; }
  // File offset of the current run's first byte.
  std::uint64_t runOffset() const { return runOffsets_[trunIndex_]; }
  // Whether the cursor is past the last sample of its run.
  bool atRunEnd() const { return sampleIndex_ >= run().sampleCount; }

  // The current sample of the run; the run's sample count past its end.
  std::uint32_t sampleIndex() const { return sampleIndex_; }
  std::uint32_t sampleSize() const { return sizeOfSample(run(), sampleIndex_, defaults_); }
  std::uint32_t sampleDuration() const { return durationOfSample(run(), sampleIndex_, defaults_); }
  std::uint32_t sampleFlags() const { return flagsOfSample(run(), sampleIndex_, defaults_); }
  // File offset of its first byte.
  std::uint64_t sampleOffset() const { return addSaturated(runOffset(), bytesBefore_); }

  // Moves to a sample of the current run.
  void seek(std::uint32_t sample);
  // Moves to the next sample of the current run.
  void next();
  // If the cursor is past the last sample of its run, moves it to the next run with samples: of this
  // fragment, or of the next one with the track. A data window stays. NoRun: a run of the same fragment
  // failed to load; NoFragment: no further fragment contains the track; Unread: leftUnread().
  [[nodiscard]] Advance advance(FragmentIndex& index);

  // Copies the bytes of the current sample to `destination` (sampleSize() bytes) without advancing. Fails
  // if the file does not contain all of them, or with ReadFailed if the host does.
  [[nodiscard]] Result read(FragmentIndex& index, std::uint8_t* destination);
  // Copies `count` bytes from a file offset through the cursor's window. Fails likewise.
  [[nodiscard]] Result readAt(FragmentIndex& index, std::uint64_t offset, std::uint64_t count,
                              std::uint8_t* destination);

  // Position of the current sample in the track, kept by whoever seeks: frames for video and CEA-708, ticks
  // for audio, the sample's first frame for CEA-608.
  std::uint64_t position = 0;

 private:
  // Finds the entry of a fragment. A failure clears the cursor, after reporting that there is none.
  Result entryAt(FragmentIndex& index, std::uint32_t fragmentIndex, const FragmentEntry*& entry);
  Result enter(FragmentIndex& index, const FragmentEntry& entry, std::uint32_t trunIndex);
  Result fail(const char* text, Result result);

  IndexedTrack track_;
  std::shared_ptr<const LoadedFragment> fragment_;
  std::uint32_t fragmentIndex_ = 0;
  TrackFragment part_;  // in the tree of `fragment_`
  SampleDefaults defaults_{nullptr, nullptr};
  std::vector<std::uint64_t> runOffsets_;  // file offset of the first byte of each run
  std::uint32_t trunIndex_ = 0;
  std::uint32_t sampleIndex_ = 0;
  std::uint64_t bytesBefore_ = 0;  // bytes of the run before the current sample
  // Filled when a sample is read: scrubbing reads single frames, playback reads ahead, and neither holds a
  // complete fragment.
  ReadWindow window_;
};

}  // namespace fmp4
