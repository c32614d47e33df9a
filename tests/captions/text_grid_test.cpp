#include "captions/text_grid.h"

#include <gtest/gtest.h>

namespace fmp4 {

namespace {

using captions::Alignment;
using captions::Caption;
using captions::TextGrid;
using captions::TextRow;

constexpr TextGrid kGrid = {0, 10, 10, 32, 2.5};

Caption captionOf(const TextGrid& grid, const std::vector<TextRow>& rows) {
  Caption caption;
  for (const TextRow& row : rows) addRow(caption, grid, row);
  return caption;
}

TEST(TextGrid, JoinsRowsWithOneLeftEdge) {
  const Caption caption = captionOf(kGrid, {{5, 2, 6, {}}, {6, 2, 9, {}}});
  ASSERT_EQ(caption.blocks.size(), 1u);
  EXPECT_EQ(caption.blocks[0].alignment, Alignment::Left);
  EXPECT_DOUBLE_EQ(caption.blocks[0].across, 10 + 2 * 2.5);
}

TEST(TextGrid, JoinsNoRowsWithARowBetweenThem) {
  EXPECT_EQ(captionOf(kGrid, {{5, 2, 6, {}}, {7, 2, 6, {}}}).blocks.size(), 2u);
}

// The middle of the grid is at column 16: the first row is there, the second a column off.
TEST(TextGrid, JoinsRowsThatAreCentredToAColumn) {
  for (const unsigned column : {9u, 11u}) {
    const Caption caption = captionOf(kGrid, {{5, 12, 8, {}}, {6, column, 12, {}}});
    ASSERT_EQ(caption.blocks.size(), 1u) << column;
    EXPECT_EQ(caption.blocks[0].alignment, Alignment::Centre);
    EXPECT_DOUBLE_EQ(caption.blocks[0].across, 10 + 32 * 2.5 / 2);
  }
  for (const unsigned column : {7u, 11u})
    EXPECT_EQ(captionOf(kGrid, {{5, 12, 8, {}}, {6, column, 14, {}}}).blocks.size(), 2u) << column;
}

// The second row makes the block a centred one, in which the third is not.
TEST(TextGrid, JoinsNoRowToCentredOnesForTheEdgeOfTheLast) {
  const Caption caption = captionOf(kGrid, {{5, 12, 8, {}}, {6, 10, 12, {}}, {7, 10, 5, {}}});
  ASSERT_EQ(caption.blocks.size(), 2u);
  EXPECT_EQ(caption.blocks[0].rows.size(), 2u);
  EXPECT_EQ(caption.blocks[1].alignment, Alignment::Left);
}

TEST(TextGrid, KeepsPlacesWithinThePicture) {
  for (const double left : {-50.0, 150.0}) {
    TextGrid grid = kGrid;
    grid.left = left;
    EXPECT_EQ(captionOf(grid, {{5, 2, 6, {}}}).blocks[0].across, left < 0 ? 0 : 100) << left;
  }
}

}  // namespace

}  // namespace fmp4
