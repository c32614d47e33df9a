// What reading a source costs, in host reads, bytes and memory rather than in seconds.
#include <gtest/gtest.h>

#include "tests/corrupt/counted_reads.h"
#include "tests/support/controlled_new.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"
#include "tool/source/source_file.h"

namespace fmp4 {

namespace {

// Reads the samples of all tracks, a second of each in turn. Returns their bytes.
std::uint64_t readAll(SourceFile& file) {
  std::uint64_t bytes = 0;
  const std::vector<SourceTrack>& tracks = file.tracks();
  for (std::uint64_t fragment = 0; fragment * DayFile::kVideoSamples < tracks[0].samples.size(); ++fragment) {
    for (std::size_t i = 0; i < DayFile::kVideoSamples; ++i)
      bytes += file.read(tracks[0], fragment * DayFile::kVideoSamples + i).size();
    for (std::size_t i = 0; i < DayFile::kAudioSamples; ++i)
      bytes += file.read(tracks[1], fragment * DayFile::kAudioSamples + i).size();
  }
  return bytes;
}

TEST(SourceCost, SamplesThatFollowEachOtherAreReadTogetherAndOnce) {
  constexpr std::uint32_t kFragments = 20;
  const TempFolder folder;
  DayFile day;
  day.fragments = kFragments;
  day.write(folder.file("day.mp4"));
  SourceFile file(folder.file("day.mp4"));
  const HostReads before = hostReads();
  const std::uint64_t bytes = readAll(file);
  const HostReads after = hostReads();
  EXPECT_EQ(after.bytes - before.bytes, bytes);
  // 30 frames of 20 KB are three windows, the audio between them is one.
  EXPECT_EQ(after.calls - before.calls, kFragments * 4u);
}

TEST(SourceCost, OpeningTakesOneReadAFragmentAndFewBytesASample) {
  constexpr std::uint32_t kFragments = 3000;
  constexpr std::size_t kSamples = kFragments * (DayFile::kVideoSamples + DayFile::kAudioSamples);
  const TempFolder folder;
  DayFile day;
  day.fragments = kFragments;
  day.write(folder.file("day.mp4"));
  const HostReads before = hostReads();
  const CountingNew memory;
  const SourceFile file(folder.file("day.mp4"));
  EXPECT_LE(memory.peakBytes(), kSamples * 16);
  const std::uint64_t reads = hostReads().calls - before.calls;
  EXPECT_GT(reads, 0u) << "nothing is counted";
  EXPECT_LE(reads, kFragments + 16u);
}

}  // namespace

}  // namespace fmp4
