// The fragment index: where each movie fragment of a file is, and how much of each track it carries.
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

// The tracks that the index counts, and their places in arrays.
enum TrackRole : unsigned { kVideoTrack, kAudioTrack, kCc608Track, kCc708Track, kTrackRoles };

// One track as its movie header describes it.
struct IndexedTrack {
  std::uint32_t trackId = kNoTrack;
  std::uint32_t timescale = 0;                 // ticks a second
  const mp4::TrackExtendsBox* trex = nullptr;  // null: the file gives no defaults, all count as 0

  bool present() const { return trackId != kNoTrack; }
};

// One movie fragment.
struct FragmentEntry {
  Mp4Box* moof = nullptr;        // owned by the box tree, or by the index; null marks an empty slot
  std::uint64_t mdatOffset = 0;  // file offset of the box right behind the `moof`
  std::uint64_t mdatSize = 0;    // that box's size, whatever its type
  std::uint32_t videoSamples = 0;
  std::uint32_t cc608Frames = 0;  // duration in video frames
  std::uint32_t cc708Frames = 0;  // duration in video frames
  std::uint32_t audioTicks = 0;   // duration in the audio track's timescale
};

// The index of one file. An entry's place (its fragment index) is its sequence number minus 1, and places
// between numbers that never occur are empty; memory goes with the fragments there are, never with their
// numbers.
class FragmentIndex {
 public:
  // `stream` and `root` stay the caller's and must outlive the index; `frameRate` converts caption
  // durations into video frames.
  FragmentIndex(Mp4Stream& stream, Mp4Box* root, const std::array<IndexedTrack, kTrackRoles>& tracks,
                FrameRate frameRate);

  // Adds one parsed `moof`. Repeating a sequence number replaces its entry; number 0 sets the count to 0.
  // Returns 0, or -1 when memory is short (which empties the index).
  int AddFragment(Mp4Box* moof);
  // Adds every fragment that starts inside a reference of `sidx`. A reference at which no box can be read
  // ends the walk quietly. Returns 0, or -1 for a `sidx` without payload or when memory is short.
  int AddFragmentsFromSidx(const Mp4Box* sidx);
  // Adds the fragments of the `sidx` at a file offset; those of an offset given before are there already.
  // Returns -1 when no box can be read there.
  int AddFragmentsAt(std::uint64_t fileOffset);
  // Builds the index of a whole file from its top-level `sidx` boxes, or from its `moof` boxes where there
  // is no `sidx` or none of them leads to a fragment. Returns 0 or -1.
  int Build();

  // The sequence number of the last fragment added, not the largest.
  std::uint32_t fragmentCount() const { return fragmentCount_; }
  bool empty() const { return entries_.empty(); }
  // The entry at a place, or null for an empty one or one at or past the count.
  const FragmentEntry* entry(std::uint32_t fragmentIndex);
  // The first occupied place at or after `fragmentIndex`; fragmentCount() when there is none.
  std::uint32_t nextOccupied(std::uint32_t fragmentIndex);
  // The last occupied place before `fragmentIndex`; fragmentCount() when there is none.
  std::uint32_t previousOccupied(std::uint32_t fragmentIndex);

  // A place in the index and what all places before it carry of a track.
  struct Place {
    std::uint32_t fragmentIndex = 0;
    std::uint64_t start = 0;
  };
  // The first place at which the running sum of the track's field exceeds `target`; fragmentCount() when
  // it never does. O(log fragments).
  Place find(TrackRole role, std::uint64_t target);
  // The first place at or after `fragmentIndex` whose field of the track is not 0; fragmentCount() when there
  // is none. O(log fragments).
  std::uint32_t nextCarrying(TrackRole role, std::uint32_t fragmentIndex);
  // What all fragments carry of a track: frames, or ticks for audio.
  std::uint64_t total(TrackRole role);

  // File offset of the first byte behind the header of the box that follows an entry's `moof`.
  std::uint64_t mediaDataStart(const FragmentEntry& entry);
  // The defaults of any track of the movie, indexed or not; null when it has none.
  const mp4::TrackExtendsBox* trackDefaults(std::uint32_t trackId);

  const IndexedTrack& track(TrackRole role) const { return tracks_[role]; }
  const FrameRate& frameRate() const { return frameRate_; }
  Mp4Stream& stream() const { return stream_; }
  // Size of the largest video sample in bytes; where one claims more than the file has, the file's size, so
  // that no buffer made for it is larger.
  std::uint32_t largestVideoSample() const {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(largestVideoSample_, root_->size));
  }

 private:
  struct Slot {
    std::uint32_t sequence;  // fragment index + 1
    FragmentEntry entry;
  };

  // The top-level box at an offset: from the tree, or read afresh and then owned by the index. The latter may
  // add up to as many bytes as the file has: offsets named by an index or a manifest may be any, and many.
  Mp4Box* boxAt(std::uint64_t offset);
  Mp4Box* nextTopLevel(const Mp4Box* box);
  void locateMediaData(FragmentEntry& entry);
  void countSamples(FragmentEntry& entry);
  bool addFragmentsInRange(std::uint64_t start, std::uint64_t end, bool& readable);
  // Brings the slots into the order of their numbers and sums them up, after additions.
  void settle();
  std::size_t slotAtOrAfter(std::uint32_t fragmentIndex) const;

  Mp4Stream& stream_;
  Mp4Box* root_;
  std::array<IndexedTrack, kTrackRoles> tracks_;
  FrameRate frameRate_;
  std::vector<Slot> entries_;                                 // by sequence number once settled
  std::size_t reachable_ = 0;                                 // slots below fragmentCount_
  std::array<std::vector<std::uint64_t>, kTrackRoles> sums_;  // running sums over the reachable slots
  bool settled_ = true;
  std::uint32_t fragmentCount_ = 0;
  std::uint32_t largestVideoSample_ = 0;
  std::optional<TrackDefaults> movieDefaults_;   // read when first needed
  std::map<std::uint64_t, Mp4BoxPtr> ownBoxes_;  // by offset
  std::uint64_t ownBytes_ = 0;
  FileRanges walked_;                     // whose fragments have been added
  std::set<std::uint64_t> indexOffsets_;  // given to AddFragmentsAt
};
