// The fragment index: the position of each movie fragment in a file, and how much of each track it contains.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "base/exact_time.h"
#include "base/result.h"
#include "mp4box/top_level_reader.h"
#include "streaming/index/file_ranges.h"
#include "streaming/index/fragment_counter.h"
#include "streaming/index/fragment_loader.h"
#include "streaming/index/offset_set.h"
#include "streaming/index/track_defaults.h"

namespace fmp4 {

// One movie fragment.
struct FragmentEntry {
  std::uint64_t moofOffset = 0;  // file offset of the `moof`
  std::uint64_t moofSize = 0;    // bytes
  std::uint32_t sequenceNumber = 0;
  std::uint32_t videoSamples = 0;
  std::uint32_t cc608Frames = 0;         // duration, video frames
  std::uint32_t cc708Frames = 0;         // duration, video frames
  std::uint32_t audioTicks = 0;          // duration, ticks of the audio track
  std::uint32_t largestVideoSample = 0;  // bytes

  // File offset of the box directly after the `moof`.
  std::uint64_t mdatOffset() const { return moofOffset + moofSize; }
};

// The index of one file. The fragment index of an entry is its sequence number minus 1; sequence numbers that
// do not occur leave empty positions. Memory is proportional to the number of fragments, not to their
// sequence numbers.
//
// Of a fragment the index keeps where it is and what the lookups need to know of it; its boxes are read again
// when a cursor enters it.
class FragmentIndex {
 public:
  // `file` must outlive the index. Top-level boxes that are not in the tree yet are walked, but not added to
  // it. `frameRate` converts caption durations to video frames.
  FragmentIndex(Mp4TopLevelReader& file, const std::array<IndexedTrack, kTrackRoles>& tracks,
                FrameRate frameRate);

  // Also counts the access units of an audio track, for the timeline of a clock that starts like `start`; to
  // be called before fragments are added. Returns the track's number, from 0.
  std::size_t countAudio(const IndexedTrack& track, const AudioClock& start);

  // Adds one parsed `moof`. An existing entry with the same sequence number is replaced; number 0 sets the
  // count to 0. Fails if memory is short, which empties the index.
  [[nodiscard]] Result AddFragment(const Mp4Box* moof);
  // Adds all fragments that start inside a reference of `sidx`. Stops without error at a reference where no
  // box can be read. Fails if `sidx` has no payload or memory is short.
  [[nodiscard]] Result AddFragmentsFromSidx(const Mp4Box* sidx);
  // Adds the fragments of the `sidx` at a file offset; does nothing for an offset given before. Fails if no
  // `sidx` can be read there or memory is short.
  [[nodiscard]] Result AddFragmentsAt(std::uint64_t fileOffset);
  // Builds the index of a complete file from its top-level `sidx` boxes, or from its `moof` boxes if there is
  // no `sidx` or none refers to a fragment. Fails if memory is short.
  [[nodiscard]] Result build();

  // The sequence number of the last fragment added, which need not be the largest.
  std::uint32_t fragmentCount() const { return fragmentCount_; }
  bool empty() const { return order_.empty(); }
  // The entry at a fragment index; null if it is empty, or at or past the count.
  const FragmentEntry* entry(std::uint32_t fragmentIndex);
  // The first occupied fragment index at or after `fragmentIndex`; fragmentCount() if there is none.
  std::uint32_t nextOccupied(std::uint32_t fragmentIndex);
  // The last occupied fragment index before `fragmentIndex`; fragmentCount() if there is none.
  std::uint32_t previousOccupied(std::uint32_t fragmentIndex);

  // A fragment index, and the amount of a track in all fragments before it.
  struct Place {
    std::uint32_t fragmentIndex = 0;
    std::uint64_t start = 0;
  };
  // The first fragment index at which the running sum of the track's amount exceeds `target`; fragmentCount()
  // if it never does. O(log fragments).
  Place find(TrackRole role, std::uint64_t target);
  // The first fragment index at or after `fragmentIndex` with a non-zero amount of the track; fragmentCount()
  // if there is none. O(log fragments).
  std::uint32_t nextCarrying(TrackRole role, std::uint32_t fragmentIndex);
  // The total amount of a track: frames, or ticks for audio.
  std::uint64_t total(TrackRole role);

  // The occupied fragment indexes below the count, in order, by rank from 0.
  std::size_t occupied();
  std::uint32_t fragmentIndexAt(std::size_t rank) const { return at(rank).sequenceNumber - 1; }
  // What the fragment of a rank contains of an audio track counted by countAudio.
  const AudioAmount& audioAmount(std::size_t audio, std::size_t rank) const {
    return audio_[audio][order_[rank]];
  }

  // The size of the box directly after an entry's `moof`, whatever its type, 0 if there is none. Nothing here
  // needs it: it is read when asked for.
  std::uint64_t mdatSize(const FragmentEntry& entry);
  // Reads the fragment of an entry, through `window` if that is open. `fragment` is null after a failure.
  // Throws std::bad_alloc if memory is short.
  [[nodiscard]] Result load(const FragmentEntry& entry, ReadWindow& window,
                            std::shared_ptr<const LoadedFragment>& fragment);

  // The defaults of any track of the movie, indexed or not; null if it has none.
  const mp4::TrackExtendsBox* trackDefaults(std::uint32_t trackId);

  const IndexedTrack& track(TrackRole role) const { return tracks_[role]; }
  const FrameRate& frameRate() const { return frameRate_; }
  Mp4Stream& stream() const { return file_.stream(); }
  // Size of the largest video sample, bytes, limited to the size of the file, so that no buffer allocated for
  // it is larger.
  std::uint32_t largestVideoSample() const {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(largestVideoSample_, fileSize()));
  }

 private:
  // Running sums are kept for every so many entries.
  static constexpr std::size_t kSumInterval = 64;

  // A box of the file.
  struct Found {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    const Mp4Box* moof = nullptr;          // a fragment in the tree
    std::optional<std::uint32_t> entry{};  // of a fragment that has been counted
  };
  // A box of the tree, or one that is owned.
  struct IndexBox {
    Mp4BoxPtr own;
    const Mp4Box* inTree = nullptr;

    const Mp4Box* get() const { return own ? own.get() : inTree; }
  };

  std::uint64_t fileSize() const { return file_.root()->size; }

  // The result of `work`; if memory runs out, empties the index and reports that.
  template <class Work>
  Result orOutOfMemory(Work work);
  void addTree(const Mp4Box* moof);
  void addEntry(std::uint32_t number);
  // Stores what has been counted of a fragment. Returns its place in `entries_`.
  std::uint32_t keep(const Mp4Box& moof, const FragmentCounts& counts);
  void addIndexes();
  void addAllFragments();
  // Adds the fragments that a `sidx` refers to. Fails if it has no payload.
  Result addReferences(const Mp4Box* sidx);
  bool addFragmentsInRange(std::uint64_t start, std::uint64_t end);

  // Walks to the next top-level box, which `last_` then describes. Returns false at the end.
  bool walkOn();
  // Walks until a top-level box that starts at `offset` has been met.
  void walkTo(std::uint64_t offset);
  // The box at an offset, or its segment index: by walking on, from the tree, or read separately. The latter
  // are limited to the size of the file in total, because an index or a manifest may specify arbitrary
  // offsets, and many of them.
  std::optional<Found> boxAt(std::uint64_t offset);
  Result indexAt(std::uint64_t offset, IndexBox& index);
  Result readSeparately(std::uint64_t offset, Mp4Box& header);
  static Result readIndex(Mp4Stream& stream, const Mp4Box& header, Mp4BoxPtr& index);
  // Reads and counts the fragment with this header. Returns its place in `entries_`; none if it has no `mfhd`
  // or cannot be read.
  std::optional<std::uint32_t> countFragment(Mp4Stream& stream, const Mp4Box& header);

  // Sorts the entries by sequence number and updates the sums after additions.
  void settle();
  void sortByNumber();
  void sumUp(TrackRole role);
  const FragmentEntry& at(std::size_t rank) const { return entries_[order_[rank]]; }
  static std::uint32_t amount(const FragmentEntry& entry, TrackRole role);
  std::uint64_t sumBefore(TrackRole role, std::size_t rank) const;
  std::size_t rankAtOrAfter(std::uint32_t fragmentIndex) const;

  Mp4TopLevelReader& file_;
  std::array<IndexedTrack, kTrackRoles> tracks_;
  FrameRate frameRate_;
  FragmentCounter counter_;
  FragmentLoader loader_;
  std::optional<TrackDefaults> movieDefaults_;  // read on first use

  // All fragments that have been read, in that order, whether or not they are part of the index. Blocks of
  // constant size: growing never copies.
  std::deque<FragmentEntry> entries_;
  std::vector<std::deque<AudioAmount>> audio_;  // for each audio track, by entry
  // The entries of the index: in the order of their addition, by sequence number after settle().
  std::deque<std::uint32_t> order_;
  bool ascending_ = true;  // whether its sequence numbers rise without fail
  bool converged_ = true;
  std::size_t reachable_ = 0;  // number of entries below fragmentCount_
  // The sums of the amounts before every kSumInterval-th reachable entry, and their total at the end.
  std::array<std::vector<std::uint64_t>, kTrackRoles> sums_;
  std::uint32_t fragmentCount_ = 0;
  std::uint32_t largestVideoSample_ = 0;

  std::optional<Found> last_;                // the top-level box walked to last
  Mp4BoxPtr ownIndex_;                       // the `sidx` walked over last
  std::deque<std::uint64_t> passedIndexes_;  // offsets of the top-level `sidx` boxes walked over
  std::uint64_t ownBytes_ = 0;               // bytes of the boxes read separately
  FileRanges walked_;                        // ranges whose fragments have been added
  OffsetSet indexOffsets_;                   // offsets passed to AddFragmentsAt
};

}  // namespace fmp4
