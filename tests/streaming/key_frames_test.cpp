#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "streaming/index/seek.h"
#include "tests/streaming/index_fixture.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

// Fragments of one run each; 'K' is a key frame, '.' another.
Bytes framesOf(std::uint32_t sequence, std::string_view pattern) {
  RunSpec run{kRunDataOffset | kRunSize | kRunFlags, {}};
  for (const char c : pattern) run.samples.push_back(sampleOf(3, sequence, 0, c == 'K' ? 0 : kNonSyncSample));
  TrafSpec traf;
  traf.runs = {run};
  return fragment(sequence, {traf});
}

TEST(SampleKeyFlag, OnlyTheNonSyncBitDecides) {
  EXPECT_EQ(SampleKeyFlag(0), 0x10000000u);
  EXPECT_EQ(SampleKeyFlag(0x00010000), 0x80000000u);
  EXPECT_EQ(SampleKeyFlag(0x02000000), 0x10000000u);
  EXPECT_EQ(SampleKeyFlag(0x02010000), 0x80000000u) << "depends on no other sample, yet the bit decides";
  EXPECT_EQ(SampleKeyFlag(0x01010000), 0x80000000u);
  EXPECT_EQ(SampleKeyFlag(2), 0x10000000u);
  EXPECT_EQ(SampleKeyFlag(0xFFFEFFFF), 0x10000000u);
}

TEST(FindKeyFrame, SearchesOverRunsFragmentsAndGapsBothWays) {
  // Frames 0 1 2 | 3 4 | (another track) | 5 6 7 8
  IndexedFile file(
      join({framesOf(1, "K.."), framesOf(2, ".."), videoFragment(3, 2, 9), framesOf(7, ".K.K")}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  const std::uint32_t backward[] = {0, 0, 0, 0, 0, 0, 6, 6, 8};
  const std::uint32_t forward[] = {0, 6, 6, 6, 6, 6, 6, 8, 8};
  for (std::uint32_t frame = 0; frame < 9; ++frame) {
    EXPECT_EQ(FindKeyFrameBackward(index, frame, cursor), backward[frame]) << frame;
    EXPECT_EQ(FindKeyFrameForward(index, frame, cursor), forward[frame]) << frame;
  }
}

TEST(FindKeyFrame, BackwardWithoutAnyGivesTheFirstFrame) {
  IndexedFile file(join({framesOf(5, ".."), framesOf(6, "..")}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  LogCapture log;
  EXPECT_EQ(FindKeyFrameBackward(index, 3, cursor), 0u);
  EXPECT_TRUE(log.lines.empty());
}

TEST(FindKeyFrame, ForwardWithoutAnyFailsWithBothMessages) {
  IndexedFile file(framesOf(1, "K.."));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  LogCapture log;
  EXPECT_EQ(FindKeyFrameForward(index, 1, cursor), std::nullopt);
  ASSERT_EQ(log.lines.size(), 2u);
  EXPECT_EQ(log.lines[0].text, "fmp4 - Moof index beyond end");
  EXPECT_EQ(log.lines[1].text, "ERROR(vlx_Fmp4): Unable to find correct video chunk for this frame\n");
}

TEST(FindKeyFrame, UsesTheFirstSampleFlagsAndTheDefaults) {
  TrafSpec traf;
  traf.flags = kBaseIsMoof | kDefaultFlags;
  traf.sampleFlags = kNonSyncSample;
  RunSpec run{kRunDataOffset | kRunSize | kRunFirstFlags, {sampleOf(1, 1), sampleOf(1, 2), sampleOf(1, 3)}};
  traf.runs = {run};
  IndexedFile file(join({fragment(1, {traf}), fragment(2, {traf})}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  EXPECT_EQ(FindKeyFrameBackward(index, 2, cursor), 0u);
  EXPECT_EQ(FindKeyFrameForward(index, 1, cursor), 3u);
  EXPECT_EQ(FindKeyFrameBackward(index, 5, cursor), 3u);
}

TEST(FindKeyFrame, AHugeRunOfDefaultsIsSearchedWithoutWalkingIt) {
  TrafSpec traf;
  RunSpec run{kRunDataOffset | kRunFirstFlags, {}};
  run.count = 0xFFFFFFF0;
  traf.runs = {run};
  IndexedFile file(fragment(1, {traf}));
  file.with(kVideoTrack, 30000, trackDefaults(1001, 1, kNonSyncSample));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  LogCapture log;
  EXPECT_EQ(FindKeyFrameBackward(index, 0xFFFFFFE0, cursor), 0u);
  EXPECT_EQ(FindKeyFrameForward(index, 1, cursor), std::nullopt);
}

TEST(FindKeyFrame, FreesTheWindowSoThatTheNextReadSeeks) {
  IndexedFile file(framesOf(1, "K.."));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  ASSERT_TRUE(SeekVideoFrame(index, 1, cursor).ok());
  ASSERT_TRUE(cursor.loaded());
  EXPECT_EQ(FindKeyFrameBackward(index, 2, cursor), 0u);
  EXPECT_FALSE(cursor.loaded());
}

TEST(FindKeyFrame, BackwardSkipsRunsWithoutSamples) {
  const auto runOf = [](std::initializer_list<std::uint32_t> flags) {
    RunSpec run{kRunDataOffset | kRunSize | kRunFlags, {}};
    for (const std::uint32_t flag : flags) run.samples.push_back(sampleOf(3, flag, 0, flag));
    return run;
  };
  TrafSpec traf;
  traf.runs = {runOf({0, kNonSyncSample}), runOf({}), runOf({kNonSyncSample, kNonSyncSample})};
  IndexedFile file(join({fragment(1, {traf}), fragment(2, {traf})}));
  FragmentIndex& index = file.build();
  TrackCursor cursor = file.cursor(kVideoTrack);
  for (std::uint32_t frame = 0; frame < 8; ++frame)
    EXPECT_EQ(FindKeyFrameBackward(index, frame, cursor), frame / 4 * 4) << frame;
  EXPECT_EQ(FindKeyFrameForward(index, 2, cursor), 4u);
}

}  // namespace

}  // namespace fmp4
