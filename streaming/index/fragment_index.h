// The fragment index: the position of each movie fragment in a file, and how much of each track it contains.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "base/exact_time.h"
#include "mp4box/box.h"
#include "streaming/index/file_ranges.h"
#include "streaming/index/track_defaults.h"
#include "streaming/index/track_fragment.h"

// The tracks that the index covers; values are array indices.
enum TrackRole : unsigned { kVideoTrack, kAudioTrack, kCc608Track, kCc708Track, kTrackRoles };

// One track as described by the movie box.
struct IndexedTrack {
  std::uint32_t trackId = kNoTrack;
  std::uint32_t timescale = 0;                 // ticks per second
  const mp4::TrackExtendsBox* trex = nullptr;  // null: the file has no defaults, all count as 0

  bool present() const { return trackId != kNoTrack; }
};

// One movie fragment.
struct FragmentEntry {
  Mp4Box* moof = nullptr;        // owned by the box tree or the index; null marks an empty slot
  std::uint64_t mdatOffset = 0;  // file offset of the box directly after the `moof`
  std::uint64_t mdatSize = 0;    // size of that box, whatever its type
  std::uint32_t videoSamples = 0;
  std::uint32_t cc608Frames = 0;  // duration, video frames
  std::uint32_t cc708Frames = 0;  // duration, video frames
  std::uint32_t audioTicks = 0;   // duration, ticks of the audio track
};

// The index of one file. The fragment index of an entry is its sequence number minus 1; sequence numbers that
// do not occur leave empty positions. Memory is proportional to the number of fragments, not to their
// sequence numbers.
class FragmentIndex {
 public:
  // The caller keeps ownership of `stream` and `root`, which must outlive the index. `frameRate` converts
  // caption durations to video frames.
  FragmentIndex(Mp4Stream& stream, Mp4Box* root, const std::array<IndexedTrack, kTrackRoles>& tracks,
                FrameRate frameRate);

  // Adds one parsed `moof`. An existing entry with the same sequence number is replaced; number 0 sets the
  // count to 0. Returns 0, or -1 if memory is short (which empties the index).
  int AddFragment(Mp4Box* moof);
  // Adds all fragments that start inside a reference of `sidx`. Stops without error at a reference where no
  // box can be read. Returns 0, or -1 if `sidx` has no payload or memory is short.
  int AddFragmentsFromSidx(const Mp4Box* sidx);
  // Adds the fragments of the `sidx` at a file offset; does nothing for an offset given before. Returns -1 if
  // no box can be read there.
  int AddFragmentsAt(std::uint64_t fileOffset);
  // Builds the index of a complete file from its top-level `sidx` boxes, or from its `moof` boxes if there is
  // no `sidx` or none refers to a fragment. Returns 0 or -1.
  int build();

  // The sequence number of the last fragment added, which need not be the largest.
  std::uint32_t fragmentCount() const { return fragmentCount_; }
  bool empty() const { return entries_.empty(); }
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

  // File offset of the first byte after the header of the box that follows an entry's `moof`.
  std::uint64_t mediaDataStart(const FragmentEntry& entry);
  // The defaults of any track of the movie, indexed or not; null if it has none.
  const mp4::TrackExtendsBox* trackDefaults(std::uint32_t trackId);

  const IndexedTrack& track(TrackRole role) const { return tracks_[role]; }
  const FrameRate& frameRate() const { return frameRate_; }
  Mp4Stream& stream() const { return stream_; }
  // Size of the largest video sample, bytes, limited to the size of the file, so that no buffer allocated for
  // it is larger.
  std::uint32_t largestVideoSample() const {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(largestVideoSample_, root_->size));
  }

 private:
  struct Slot {
    std::uint32_t sequence;  // fragment index + 1
    FragmentEntry entry;
  };

  // The top-level box at an offset: from the tree, or read separately and then owned by the index. The latter
  // are limited to the size of the file in total, because an index or a manifest may specify arbitrary
  // offsets, and many of them.
  Mp4Box* boxAt(std::uint64_t offset);
  Mp4Box* nextTopLevel(const Mp4Box* box);
  void locateMediaData(FragmentEntry& entry);
  void countSamples(FragmentEntry& entry);
  bool addFragmentsInRange(std::uint64_t start, std::uint64_t end, bool& readable);
  // Sorts the slots by sequence number and updates the sums after additions.
  void settle();
  std::size_t slotAtOrAfter(std::uint32_t fragmentIndex) const;

  Mp4Stream& stream_;
  Mp4Box* root_;
  std::array<IndexedTrack, kTrackRoles> tracks_;
  FrameRate frameRate_;
  std::vector<Slot> entries_;                                 // sorted by sequence number after settle()
  std::size_t reachable_ = 0;                                 // number of slots below fragmentCount_
  std::array<std::vector<std::uint64_t>, kTrackRoles> sums_;  // running sums of the reachable slots
  bool converged_ = true;
  std::uint32_t fragmentCount_ = 0;
  std::uint32_t largestVideoSample_ = 0;
  std::optional<TrackDefaults> movieDefaults_;   // read on first use
  std::map<std::uint64_t, Mp4BoxPtr> ownBoxes_;  // by offset
  std::uint64_t ownBytes_ = 0;
  FileRanges walked_;                     // ranges whose fragments have been added
  std::set<std::uint64_t> indexOffsets_;  // offsets passed to AddFragmentsAt
};
