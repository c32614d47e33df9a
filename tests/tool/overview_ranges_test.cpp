// What overviews give of a range, and which files of them are refused.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/crc32.h"
#include "tests/support/temp_folder.h"
#include "tool/viewer/cell_levels.h"
#include "tool/viewer/overview_cache.h"
#include "tool/viewer/overview_file.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = AudioFault::Kind;

TEST(OverviewFaults, AreInOrderWhateverTheyAreAddedIn) {
  Overview overview;
  for (const std::uint64_t from : {20u, 0u, 10u}) overview.addFault({Kind::Gap, from, from + 5, 0});
  EXPECT_THAT(overview.faults(0, 100, 3),
              ElementsAre(AudioFault{Kind::Gap, 0, 5, 0}, AudioFault{Kind::Gap, 10, 15, 0},
                          AudioFault{Kind::Gap, 20, 25, 0}));
}

TEST(OverviewFaults, AreThoseInPartWithinTheRange) {
  Overview overview;
  overview.addFault({Kind::Gap, 0, 10, 0});
  overview.addFault({Kind::Lost, 10, 20, 1});
  EXPECT_THAT(overview.faults(10, 20, 2), ElementsAre(AudioFault{Kind::Lost, 10, 20, 1}));
  EXPECT_THAT(overview.faults(0, 10, 2), ElementsAre(AudioFault{Kind::Gap, 0, 10, 0}));
  EXPECT_EQ(overview.faults(9, 11, 2).size(), 2u) << "neighbours are one only where they are too many";
}

TEST(OverviewFaults, ThatAreTooManyAreOneOfTheWorstKind) {
  Overview overview;
  overview.addFault({Kind::Gap, 0, 100, 1});
  overview.addFault({Kind::Unread, 10, 20, 2});
  overview.addFault({Kind::Lost, 110, 120, 0xFFFFFFFF});
  EXPECT_THAT(overview.faults(0, 1000, 1), ElementsAre(AudioFault{Kind::Unread, 0, 120, 0xFFFFFFFF}));
  EXPECT_THAT(overview.faults(0, 105, 1), ElementsAre(AudioFault{Kind::Unread, 0, 100, 3}));
}

TEST(OverviewFaults, AreNoMoreThanItsMost) {
  Overview overview;
  for (std::uint64_t i = 0; i <= Overview::kMaxFaults; ++i) overview.addFault({Kind::Gap, i, i + 1, 0});
  EXPECT_EQ(overview.progress().faults, Overview::kMaxFaults);
}

TEST(OverviewCaptionRange, ThatIsTooLongEndsWithTheLastOfItsCues) {
  Overview overview;
  overview.setCaptions({{"CC1", {{0, 100, "a"}, {10, 20, "b"}}}});
  EXPECT_THAT(overview.captions(0, 1000, 1)["CC1"], ElementsAre(TextCue{0, 100, ""}));
  EXPECT_THAT(overview.captions(0, 1000, 2)["CC1"], ElementsAre(TextCue{0, 100, "a"}, TextCue{10, 20, "b"}));
}

TEST(CellLevels, HaveNoCellsAfterTheLast) {
  CellLevels<FrameValue, FrameCell> cells;
  cells.append(std::vector<FrameValue>(3));
  for (const std::size_t from : {3u, 4u, 5u}) EXPECT_THAT(cells.cells(0, from, 2), IsEmpty()) << from;
  EXPECT_EQ(cells.cells(0, 2, 2).size(), 1u);
}

// The checksum of what follows it, wherever it is.
void checkAgain(std::vector<std::uint8_t>& bytes, std::size_t place) {
  const std::uint32_t crc = crc32(std::span(bytes).subspan(place + 4));
  for (unsigned i = 0; i < 4; ++i) bytes[place + i] = static_cast<std::uint8_t>(crc >> 8 * i);
}

TEST(OverviewFile, WithBytesAfterItsEndIsRefused) {
  const std::string text = overviewBytes({}, "key");
  std::vector<std::uint8_t> bytes(text.begin(), text.end());
  // Before the key's length.
  const std::size_t place = text.find("key") - 8;
  checkAgain(bytes, place);
  ASSERT_EQ(overviewOfBytes(bytes, "key"), Overview::Finest{});
  bytes.push_back(0);
  checkAgain(bytes, place);
  EXPECT_EQ(overviewOfBytes(bytes, "key"), std::nullopt);
}

TEST(OverviewCache, LoadsNoFileLargerThanItsMost) {
  const TempFolder folder;
  const std::size_t bytes = overviewBytes({}, "key").size();
  OverviewCache(folder.path(), bytes).store("a", "key", {});
  EXPECT_EQ(OverviewCache(folder.path(), bytes).load("a", "key"), Overview::Finest{});
  EXPECT_EQ(OverviewCache(folder.path(), bytes - 1).load("a", "key"), std::nullopt);
}

}  // namespace

}  // namespace fmp4
