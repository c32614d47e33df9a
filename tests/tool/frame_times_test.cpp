// What finding the times of frames costs, in host reads and memory.
#include "tool/host/frame_times.h"

#include <gtest/gtest.h>

#include "tests/corrupt/counted_reads.h"
#include "tests/support/controlled_new.h"
#include "tests/support/day_file.h"
#include "tests/support/fragments.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

TEST(FrameTimes, AreReadAsFarAsAskedForAndKeepOneFragment) {
  constexpr std::uint32_t kFragments = 3000;
  const TempFolder folder;
  DayFile day;
  day.fragments = kFragments;
  day.write(folder.file("day.mp4"));
  const CountingNew memory;
  const std::uint64_t before = hostReads().calls;
  FrameTimes times(folder.file("day.mp4"));
  ASSERT_TRUE(times.of(4, DayFile::kVideoBytes + 40));
  EXPECT_EQ(times.of(4, DayFile::kVideoBytes + 40)->decodeTicks, 4u);
  EXPECT_GT(hostReads().calls, before) << "nothing is counted";
  EXPECT_LE(hostReads().calls - before, 16u);
  constexpr std::uint32_t kLast = kFragments * DayFile::kVideoSamples - 1;
  ASSERT_TRUE(times.of(kLast, DayFile::kVideoBytes + 290));
  EXPECT_EQ(times.of(kLast, DayFile::kVideoBytes + 290)->compositionTicks, kLast + 2);
  EXPECT_LE(hostReads().calls - before, kFragments + 16u);
  EXPECT_LE(memory.peakBytes(), 80u << 10) << "a table of the fragments would take more";
  EXPECT_FALSE(times.of(kLast + 1, 1));
}

// A video with three frames of five bytes.
void writeThreeFrames(const std::string& file, std::uint32_t timescale) {
  TrackSpec video = videoTrack();
  video.timescale = timescale;
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(5, 1), sampleOf(5, 2), sampleOf(5, 3)}}};
  writeFile(file, join({fileTypeBox(), movieBox({video}), fragment(1, {traf})}));
}

TEST(FrameTimes, OfAFrameThatWasPassedAreNotKnown) {
  const TempFolder folder;
  writeThreeFrames(folder.file("clip.mp4"), 30000);
  FrameTimes times(folder.file("clip.mp4"));
  ASSERT_TRUE(times.of(1, 5));
  EXPECT_FALSE(times.of(0, 5));
  EXPECT_EQ(times.of(2, 5)->decodeTicks, 2002u);
}

TEST(FrameTimes, OfATrackWithoutATimescaleAreNotKnown) {
  const TempFolder folder;
  writeThreeFrames(folder.file("clip.mp4"), 0);
  FrameTimes times(folder.file("clip.mp4"));
  EXPECT_FALSE(times.of(0, 5));
}

}  // namespace

}  // namespace fmp4
