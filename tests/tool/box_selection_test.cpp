// What finding boxes at a path costs, in host reads.
#include "tool/source/box_selection.h"

#include <gtest/gtest.h>

#include "tests/corrupt/counted_reads.h"
#include "tests/support/controlled_new.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

struct SelectionCost {
  std::uint64_t found = 0;
  HostReads reads;
  std::uint64_t peakBytes = 0;  // of memory
};

SelectionCost costOf(const std::string& file, const char* path) {
  Mp4Stream stream;
  stream.open(file.c_str(), MP4_MODE_READ);
  const HostReads before = hostReads();
  const CountingNew memory;
  SelectionCost cost;
  Mp4TopLevelReader reader(stream);
  BoxSelection(reader, *parseBoxPath(path), [&cost](const Mp4Box&) { ++cost.found; }).run();
  const HostReads after = hostReads();
  cost.reads = {after.calls - before.calls, after.bytes - before.bytes};
  cost.peakBytes = memory.peakBytes();
  return cost;
}

TEST(BoxSelection, ReadsUpToTheBoxAndKeepsOneAtATime) {
  constexpr std::uint32_t kFragments = 2000;
  const TempFolder folder;
  const std::string file = folder.file("day.mp4");
  DayFile day;
  day.fragments = kFragments;
  day.write(file);
  const SelectionCost early = costOf(file, "moof[3]/traf");
  EXPECT_EQ(early.found, 2u);
  EXPECT_LE(early.reads.calls, 12u);
  const SelectionCost last = costOf(file, "moof[last]/traf[1]/trun");
  EXPECT_EQ(last.found, 1u);
  EXPECT_LE(last.reads.calls, 2 * kFragments + 16u);
  const SelectionCost all = costOf(file, "moof/traf/trun");
  EXPECT_EQ(all.found, 2 * kFragments);
  EXPECT_LE(all.reads.calls, 2 * kFragments + 16u);
  EXPECT_LE(all.peakBytes, 128u << 10);
}

}  // namespace

}  // namespace fmp4
