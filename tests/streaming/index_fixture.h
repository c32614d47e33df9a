// A file in memory with its tree and index.
#pragma once

#include <memory>
#include <optional>

#include "streaming/index/fragment_index.h"
#include "streaming/index/track_cursor.h"
#include "tests/support/box_builder.h"
#include "tests/support/fragments.h"

namespace fmp4 {

// Track defaults as a "trex" gives them.
inline mp4::TrackExtendsBox trackDefaults(std::uint32_t duration, std::uint32_t size = 0,
                                          std::uint32_t flags = 0) {
  mp4::TrackExtendsBox trex;
  trex.defaultSampleDuration = duration;
  trex.defaultSampleSize = size;
  trex.defaultSampleFlags = flags;
  return trex;
}

// A tree that ends before the first fragment or segment index.
inline void readBeforeFragments(Mp4TopLevelReader& file) {
  Mp4Box header;
  while (file.stream().seek(file.nextOffset()) && Mp4ReadBoxHeader(file.stream(), header).ok() &&
         header.type != Mp4FourCc("moof") && header.type != Mp4FourCc("sidx") && file.readNext().ok()) {
  }
}

// What of the top level is in the tree; the index walks the rest.
enum class Tree { BeforeFragments, All };

// Tracks 1 to 4 are video, audio and the two caption tracks; those with defaults given are present.
struct IndexedFile {
  Bytes bytes;
  Mp4MemoryStream stream;
  Mp4TopLevelReader file;
  std::array<mp4::TrackExtendsBox, kTrackRoles> defaults;
  std::array<IndexedTrack, kTrackRoles> tracks;
  std::optional<AudioClock> clock;  // of the audio track, to count its access units as number 0
  std::unique_ptr<FragmentIndex> index;

  explicit IndexedFile(Bytes content, Tree tree = Tree::BeforeFragments)
      : bytes(std::move(content)), stream(bytes.data(), bytes.size()), file(stream) {
    if (tree == Tree::All)
      file.readUpTo(0);
    else
      readBeforeFragments(file);
  }

  IndexedFile& with(TrackRole role, std::uint32_t timescale, const mp4::TrackExtendsBox& trex) {
    defaults[role] = trex;
    tracks[role] = {role + 1u, timescale, &defaults[role]};
    return *this;
  }
  // Video at 30000/1001 and an index of the entire file.
  FragmentIndex& build(FrameRate rate = {30000, 1001}) {
    if (!tracks[kVideoTrack].present()) with(kVideoTrack, 30000, trackDefaults(1001));
    index = std::make_unique<FragmentIndex>(file, tracks, rate);
    if (clock) index->countAudio(tracks[kAudioTrack], *clock);
    EXPECT_TRUE(index->build().ok());
    return *index;
  }
  TrackCursor cursor(TrackRole role) const { return TrackCursor(tracks[role]); }
};

// A video fragment of `frames` frames of 10 bytes each, the first a key frame.
inline Bytes videoFragment(std::uint32_t sequence, std::uint32_t frames, std::uint32_t trackId = 1) {
  RunSpec run{kRunDataOffset | kRunSize | kRunFlags, {}};
  for (std::uint32_t i = 0; i < frames; ++i) {
    run.samples.push_back(sampleOf(10, sequence * 100 + i, 0, i ? kNonSyncSample : 0));
  }
  TrafSpec traf;
  traf.trackId = trackId;
  traf.runs = {run};
  return fragment(sequence, {traf});
}

}  // namespace fmp4
