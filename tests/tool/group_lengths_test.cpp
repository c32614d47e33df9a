// What it costs to learn the lengths of groups of pictures, in host reads.
#include "tool/host/group_lengths.h"

#include <gtest/gtest.h>

#include "tests/corrupt/counted_reads.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

TEST(GroupLengths, OfALongFileAreThoseOfItsFirstMinutes) {
  const TempFolder folder;
  DayFile day;
  day.fragments = 2000;
  day.write(folder.file("day.mp4"));
  const HostReads before = hostReads();
  const auto lengths = groupLengths(folder.file("day.mp4"));
  const HostReads after = hostReads();
  ASSERT_TRUE(lengths);
  EXPECT_EQ(lengths->usual, std::uint64_t{DayFile::kVideoSamples});
  EXPECT_EQ(lengths->groups, kExaminedSeconds - 1);
  EXPECT_EQ(lengths->seconds, kExaminedSeconds);
  EXPECT_FALSE(lengths->wholeFile);
  EXPECT_GE(after.calls - before.calls, kExaminedSeconds) << "not all is counted";
  EXPECT_LE(after.calls - before.calls, kExaminedSeconds + 16);
}

}  // namespace

}  // namespace fmp4
