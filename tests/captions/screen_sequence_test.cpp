// The screens of CEA-608 as they follow each other, from byte pairs and packets.
#include "captions/screen_sequence.h"

#include <gtest/gtest.h>

#include "tests/captions/cea608_stream.h"

namespace fmp4 {

namespace {

using captions::CaptionChannel;
using captions::CaptionMode;
using captions::CaptionRegion;
using captions::Cell;
using captions::Colour;
using captions::PictureShape;
using captions::ScreenSequence;
using captions::ShownScreen;
using namespace cea608;

constexpr CaptionChannel kCc1 = {CaptionChannel::Standard::Cea608, 1};

// The screens of pairs, one a frame from 0 on, in the frames from `from` up to the last.
std::vector<ShownScreen> screensOf(const Pairs& pairs, std::int64_t from = 0,
                                   const CaptionChannel& channel = kCc1) {
  ScreenSequence sequence(channel, PictureShape::Wide, 30, from);
  for (std::size_t i = 0; i < pairs.size(); ++i) sequence.add(static_cast<std::int64_t>(i), pairs[i], {});
  return sequence.finish(static_cast<std::int64_t>(pairs.size()));
}

const Cell& cellAt(const ShownScreen& shown, unsigned row, unsigned column) {
  const CaptionRegion& region = shown.screen.regions.at(0);
  return region.cells.at(std::size_t{row} * region.columns + column);
}

// The characters of a row, "." where there is none.
std::string rowText(const ShownScreen& shown, unsigned row) {
  std::string text;
  for (unsigned i = 0; i < shown.screen.regions.at(0).columns; ++i) {
    const char16_t character = cellAt(shown, row, i).character;
    text += character == 0 ? '.' : static_cast<char>(character);
  }
  return text;
}

const Pairs kHello = code(RCL) + code(ENM) + code(pacIndent(15, 4)) + chars("Hell") + code(EOC);  // 10 pairs

TEST(ScreenSequence, PopOnCaptionIsShownFromItsEndCodeToItsErasure) {
  const auto screens = screensOf(kHello + nulls(10) + code(EDM) + nulls(8));
  ASSERT_EQ(screens.size(), 1u);
  EXPECT_EQ(screens[0].first, 8);
  EXPECT_EQ(screens[0].end, 20);
  EXPECT_EQ(screens[0].screen.mode, CaptionMode::PopOn);
  const CaptionRegion& region = screens[0].screen.regions.at(0);
  EXPECT_EQ(region.rows, 15u);
  EXPECT_EQ(region.columns, 32u);
  EXPECT_EQ(region.top, 10);
  EXPECT_EQ(region.left, 10);
  EXPECT_EQ(region.width, 80);
  EXPECT_EQ(region.height, 80);
  EXPECT_EQ(rowText(screens[0], 14), "....Hell........................");
}

TEST(ScreenSequence, RollUpShowsEveryCharacterWhenItComes) {
  const auto screens = screensOf(code(RU2) + code(CR) + code(pac(15)) + chars("abcd"));
  ASSERT_EQ(screens.size(), 2u);
  EXPECT_EQ(screens[0].screen.mode, CaptionMode::RollUp);
  EXPECT_EQ(screens[0].first, 6);
  EXPECT_EQ(screens[0].end, 7);
  EXPECT_EQ(rowText(screens[0], 14).substr(0, 5), "ab...");
  EXPECT_EQ(screens[1].first, 7);
  EXPECT_EQ(screens[1].end, 8);
  EXPECT_EQ(rowText(screens[1], 14).substr(0, 5), "abcd.");
}

TEST(ScreenSequence, PaintOnNamesItsMode) {
  EXPECT_EQ(screensOf(code(RDC) + code(pac(1)) + chars("ab")).at(0).screen.mode, CaptionMode::PaintOn);
}

TEST(ScreenSequence, CellsHaveTheirColourItalicsAndUnderline) {
  const auto screens = screensOf(code(RDC) + code(pac(1, 0x08)) + chars("ab") + code(0x112F) + chars("c"));
  ASSERT_FALSE(screens.empty());
  EXPECT_EQ(cellAt(screens.back(), 0, 0).style.foreground, (Colour{3, 0, 0}));
  EXPECT_FALSE(cellAt(screens.back(), 0, 0).style.italics);
  EXPECT_TRUE(cellAt(screens.back(), 0, 3).style.italics);
  EXPECT_TRUE(cellAt(screens.back(), 0, 3).style.underline);
}

TEST(ScreenSequence, ARangeBeginsWithWhatWasShownBefore) {
  const Pairs pairs = kHello + nulls(10) + code(EDM) + nulls(8);
  const auto inside = screensOf(pairs, 15);
  ASSERT_EQ(inside.size(), 1u);
  EXPECT_EQ(inside[0].first, 15);
  EXPECT_EQ(inside[0].end, 20);
  EXPECT_TRUE(screensOf(pairs, 20).empty());
  EXPECT_TRUE(screensOf(pairs, 25).empty());
  EXPECT_EQ(screensOf(pairs, 8), screensOf(pairs));
}

TEST(ScreenSequence, ListsTheChannelsThatHaveDisplayedSomething) {
  ScreenSequence sequence(kCc1, PictureShape::Wide, 30, 100);
  std::int64_t frame = 0;
  for (const Pair& pair : code(inChannel2(RDC)) + chars("ab")) sequence.add(frame++, pair, {});
  EXPECT_EQ(sequence.channels(), std::set<CaptionChannel>({{CaptionChannel::Standard::Cea608, 2}}));
  EXPECT_TRUE(sequence.finish(200).empty());
}

TEST(ScreenSequence, PairsOfTheirOwnComeBeforeThoseInPackets) {
  using captions::CcConstruct;
  using captions::CcType;
  for (const bool both : {true, false}) {
    ScreenSequence sequence(kCc1, PictureShape::Wide, 30, 0);
    const Pairs own = code(RDC) + chars("ow"), packed = code(RDC) + chars("pa");
    for (std::size_t i = 0; i < own.size(); ++i) {
      const CcConstruct construct = {CcType::Field1, true, packed[i]};
      const auto packet = captions::distributionPacket({&construct, 1}, 30, 0);
      sequence.add(static_cast<std::int64_t>(i),
                   both ? std::span<const std::uint8_t>(own[i]) : std::span<const std::uint8_t>(), packet);
    }
    EXPECT_EQ(sequence.channels(), std::set<CaptionChannel>{kCc1});
    const auto screens = sequence.finish(9);
    ASSERT_EQ(screens.size(), 1u);
    EXPECT_EQ(rowText(screens[0], 14).substr(0, 3), both ? "ow." : "pa.");
  }
}

TEST(ScreenSequence, AChangeThatIsTakenBackInItsFrameIsNone) {
  ScreenSequence sequence(kCc1, PictureShape::Wide, 30, 0);
  for (const Pair& pair : code(RDC) + chars("ab")) sequence.add(3, pair, {});
  for (const Pair& pair : chars("cd") + code(BS) + nulls(2) + code(BS)) sequence.add(5, pair, {});
  const auto screens = sequence.finish(9);
  ASSERT_EQ(screens.size(), 1u);
  EXPECT_EQ(screens[0].first, 3);
  EXPECT_EQ(screens[0].end, 9);
}

TEST(ScreenSequence, ACodeThatChangesNothingEndsNoScreen) {
  const auto screens = screensOf(code(RU2) + chars("ab") + nulls(4) + code(RU2) + nulls(4));
  ASSERT_EQ(screens.size(), 1u);
  EXPECT_EQ(screens[0].first, 2);
  EXPECT_EQ(screens[0].end, 13);
}

TEST(ScreenSequence, PairsThatDisplayNothingAreTakenBeforePackets) {
  ScreenSequence sequence(kCc1, PictureShape::Wide, 30, 0);
  const Pairs own = code(RCL) + code(ENM), packed = code(RDC) + chars("pa");
  for (std::size_t i = 0; i < packed.size(); ++i) {
    const captions::CcConstruct construct = {captions::CcType::Field1, true, packed[i]};
    sequence.add(static_cast<std::int64_t>(i), own[i], captions::distributionPacket({&construct, 1}, 30, 0));
  }
  EXPECT_TRUE(sequence.channels().empty());
  EXPECT_TRUE(sequence.finish(9).empty());
}

TEST(ScreenSequence, AScreenThatIsReplacedInItsFrameIsNotListed) {
  ScreenSequence sequence(kCc1, PictureShape::Wide, 30, 0);
  for (const Pair& pair : code(RDC) + chars("ab") + code(EDM)) sequence.add(3, pair, {});
  EXPECT_TRUE(sequence.finish(9).empty());
}

}  // namespace

}  // namespace fmp4
