// Fragments counted by their bytes, held against the counts of their trees.
#include "streaming/index/fragment_counter.h"

#include <gtest/gtest.h>

#include "tests/streaming/index_fixture.h"
#include "tests/support/counted_twice.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

struct Layout {
  const char* name;
  Bytes moof;
  bool byBytes;  // whether the bytes suffice
};

Bytes header(std::uint32_t sequence) {
  return fullBox("mfhd", 0, 0, {u32(sequence)});
}
Bytes trackHeader(std::uint32_t track, std::uint32_t flags = 0, const Bytes& fields = {}) {
  return fullBox("tfhd", 0, flags, {u32(track), fields});
}
Bytes sizes(std::uint32_t count, const Bytes& values) {
  return fullBox("trun", 0, kRunSize, {u32(count), values});
}
Bytes timed(const std::vector<std::uint32_t>& durations) {
  Bytes values;
  for (const std::uint32_t duration : durations) values = join({values, u32(duration)});
  return fullBox("trun", 0, kRunDuration, {u32(static_cast<std::uint32_t>(durations.size())), values});
}

std::vector<Layout> layouts() {
  const Bytes run = sizes(2, join({u32(10), u32(300)}));
  const Bytes uuid = box("uuid", {zeros(16)});
  return {
      {"plain", box("moof", {header(3), box("traf", {trackHeader(1), run})}), true},
      {"all tracks",
       box("moof", {header(3), box("traf", {trackHeader(1), run}),
                    box("traf", {trackHeader(2), timed({1024, 640, 641, 9000})}),
                    box("traf", {trackHeader(3), timed({1001, 2000})}), box("traf", {trackHeader(4), run})}),
       true},
      {"defaults of the track fragment",
       box("moof", {header(3),
                    box("traf", {trackHeader(1, kDefaultSize, u32(5000)), fullBox("trun", 0, 0, {u32(7)})})}),
       true},
      {"several runs", box("moof", {header(3), box("traf", {trackHeader(1), run, run, sizes(0, {})})}), true},
      {"a run of fewer samples than it states",
       box("moof", {header(3), box("traf", {trackHeader(1), sizes(9, join({u32(10), u32(300), zeros(3)}))})}),
       true},
      {"a run without its count", box("moof", {header(3), box("traf", {trackHeader(1), box("trun")})}), true},
      {"a header without its number",
       box("moof", {box("mfhd", {zeros(6)}), box("traf", {trackHeader(1), run})}), true},
      {"no header", box("moof", {box("traf", {trackHeader(1), run})}), true},
      {"two headers", box("moof", {header(3), header(4), box("traf", {trackHeader(1), run})}), true},
      {"a track fragment of a header only",
       box("moof", {header(3), box("traf", {trackHeader(9)}), box("traf", {trackHeader(1), run})}), true},
      {"a track header after the runs", box("moof", {header(3), box("traf", {run, trackHeader(9)})}), true},
      {"a track header cut short", box("moof", {header(3), box("traf", {box("tfhd", {zeros(5)}), run})}),
       true},
      {"no track header", box("moof", {header(3), box("traf", {run, run})}), true},
      {"the same track twice",
       box("moof", {header(3), box("traf", {trackHeader(1), run}), box("traf", {trackHeader(1), run, run})}),
       true},
      {"a track fragment with one empty box",
       box("moof", {header(3), box("traf", {box("trun")}), box("traf", {trackHeader(1), run})}), true},
      {"a fragment with one empty box", box("moof", {box("mfhd")}), true},
      {"boxes of others",
       box("moof", {uuid, header(3), box("free", {zeros(3)}),
                    box("traf", {trackHeader(1), uuid, box("sdtp", {zeros(6)}), run})}),
       true},
      {"two track headers", box("moof", {header(3), box("traf", {trackHeader(9), trackHeader(1), run})}),
       false},
      {"a container between",
       box("moof", {header(3), box("udta", {zeros(20)}), box("traf", {trackHeader(1), run})}), false},
      {"bytes left over", box("moof", {header(3), box("traf", {trackHeader(1), run}), zeros(5)}), false},
      {"a 64-bit size",
       box("moof", {header(3), box("traf", {trackHeader(1), largeBox("trun", {zeros(12)})})}), false},
      {"a box of no size", box("moof", {header(3), box("traf", {trackHeader(1), zeros(8), run})}), false},
      {"a run past its track fragment",
       box("moof", {header(3), box("traf", {trackHeader(1), boxOfSize(40, "trun")}), run, run}), false},
  };
}

TEST(FragmentCounter, BytesGiveWhatTreesGiveWhereTheyAreLaidOutRegularly) {
  for (const Layout& layout : layouts()) {
    const CountedTwice counted(layout.moof);
    EXPECT_EQ(counted.different, 0u) << layout.name;
    EXPECT_EQ(counted.byBytes, layout.byBytes ? 1u : 0u) << layout.name;
  }
}

TEST(FragmentCounter, CutAnywhereOrWithAnyByteChangedTheyDoSoToo) {
  for (const Layout& layout : layouts()) {
    for (std::size_t i = 8; i < layout.moof.size(); ++i) {
      Bytes cut(layout.moof.begin(), layout.moof.begin() + static_cast<std::ptrdiff_t>(i));
      EXPECT_EQ(CountedTwice(cut).different, 0u) << layout.name << ", " << i << " bytes";
      for (const std::uint8_t value :
           {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{8}, std::uint8_t{255}}) {
        Bytes changed = layout.moof;
        changed[i] = value;
        EXPECT_EQ(CountedTwice(changed).different, 0u) << layout.name << ", byte " << i;
      }
    }
  }
}

TEST(FragmentCounter, CountsTheDamagedFilesBothWays) {
  std::uint32_t byBytes = 0;
  for (const auto& file : std::filesystem::directory_iterator(VL_CORRUPT_FILES)) {
    if (file.path().extension() != ".mp4") continue;
    const CountedTwice counted(readFile(file.path()));
    EXPECT_EQ(counted.different, 0u) << file.path();
    byBytes += counted.byBytes;
  }
  EXPECT_GT(byBytes, 100u);
}

TEST(FragmentCounter, CountsMediaOfAnotherWriterByTheirBytesAlone) {
  const TempFolder folder;
  const auto clip = folder.file("clip.mp4");
  makeMedia(clip, videoInput(2, "25", "64x48") + toneInput(2) +
                      std::vector<std::string>{"-c:v", "libx264", "-bf", "2", "-c:a", "aac", "-movflags",
                                               "frag_keyframe+empty_moov", "-frag_duration", "250000"});
  const CountedTwice counted(readFile(clip));
  EXPECT_EQ(counted.different, 0u);
  EXPECT_EQ(counted.byTree, 0u);
  EXPECT_GE(counted.byBytes, 8u);
}

// A file indexed by walking on is indexed as it is from its complete tree.
TEST(FragmentCounter, WalkingAndTheTreeGiveTheSameIndex) {
  for (const auto& file : std::filesystem::directory_iterator(VL_CORRUPT_FILES)) {
    if (file.path().extension() != ".mp4") continue;
    IndexedFile walked(readFile(file.path())), tree(readFile(file.path()), Tree::All);
    for (IndexedFile* each : {&walked, &tree}) {
      each->with(kVideoTrack, 30000, trackDefaults(1001));
      each->with(kCc608Track, 30000, trackDefaults(1001));
      each->build();
    }
    ASSERT_EQ(walked.index->occupied(), tree.index->occupied()) << file.path();
    EXPECT_EQ(walked.index->fragmentCount(), tree.index->fragmentCount()) << file.path();
    EXPECT_EQ(walked.index->largestVideoSample(), tree.index->largestVideoSample()) << file.path();
    for (std::size_t i = 0; i < tree.index->occupied(); ++i) {
      const FragmentEntry& a = *walked.index->entry(walked.index->fragmentIndexAt(i));
      const FragmentEntry& b = *tree.index->entry(tree.index->fragmentIndexAt(i));
      EXPECT_EQ(a.moofOffset, b.moofOffset) << file.path();
      EXPECT_EQ(a.moofSize, b.moofSize) << file.path();
      EXPECT_EQ(a.videoSamples, b.videoSamples) << file.path();
      EXPECT_EQ(a.cc608Frames, b.cc608Frames) << file.path();
    }
  }
}

TEST(FragmentCounter, NothingIsLeftOfTheFragmentBefore) {
  std::array<IndexedTrack, kTrackRoles> tracks;
  tracks[kVideoTrack] = {1, 30000, nullptr};
  FragmentCounter counter(tracks, {30000, 1001});
  const auto counts = [&counter](const Bytes& moof) {
    const FragmentCounts* const counts = counter.countBytes(moof);
    EXPECT_NE(counts, nullptr);
    return counts ? *counts : FragmentCounts{};
  };
  const Bytes largest = sizes(2, join({u32(10), u32(300)})), small = sizes(1, u32(20));
  const FragmentCounts first = counts(box("moof", {header(3), box("traf", {trackHeader(1), largest})}));
  EXPECT_EQ(first.sequenceNumber, 3u);
  EXPECT_EQ(first.largestVideoSample, 300u);
  const FragmentCounts second = counts(box("moof", {box("traf", {trackHeader(1), small})}));
  EXPECT_FALSE(second.hasHeader);
  EXPECT_EQ(second.sequenceNumber, 0u);
  EXPECT_EQ(second.largestVideoSample, 20u);
}

}  // namespace

}  // namespace fmp4
