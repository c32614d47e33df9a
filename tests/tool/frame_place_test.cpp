// Places in a file as people write them.
#include "tool/host/frame_place.h"

#include <gtest/gtest.h>

#include "base/user_error.h"
#include "tool/host/frame_selection.h"

namespace fmp4 {

namespace {

constexpr FrameRate kPal{25, 1};
constexpr FrameRate kNtsc{30000, 1001};
constexpr FrameRate kNtscDouble{60000, 1001};

std::uint32_t frameOf(const char* text, const FrameRate& rate) {
  const auto place = FramePlace::parse(text);
  if (!place) {
    ADD_FAILURE() << text << " is not read";
    return 0;
  }
  return place->frame(rate);
}

TEST(FramePlace, IsAFrameNumber) {
  EXPECT_EQ(frameOf("0", kPal), 0u);
  EXPECT_EQ(frameOf("4294967295", kPal), 4294967295u);
  EXPECT_EQ(frameOf("7", FrameRate{}), 7u) << "whatever the rate";
}

TEST(FramePlace, IsTheFrameShownAtATime) {
  for (const char* text : {"90s", "90.0", "90.019", "1:30", "01:30.000", "0:01:30", "00:01:30.039"})
    EXPECT_EQ(frameOf(text, kPal), 2250u) << text;
  EXPECT_EQ(frameOf("0.0399", kPal), 1u) << "half a millisecond early";
  EXPECT_EQ(frameOf("0.0394", kPal), 0u);
  EXPECT_EQ(frameOf("100:00:00", kPal), 9000000u);
}

TEST(FramePlace, ReadsBackTimesThatWereRoundedToMilliseconds) {
  for (std::uint32_t frame = 0; frame < 3000; ++frame) {
    const std::uint64_t milliseconds = (std::uint64_t{frame} * 1001 + 15) / 30;
    const std::string fraction = std::to_string(1000 + milliseconds % 1000).substr(1);
    ASSERT_EQ(frameOf((std::to_string(milliseconds / 1000) + "." + fraction).c_str(), kNtsc), frame);
  }
}

TEST(FramePlace, IsATimecodeThatCountsFrames) {
  EXPECT_EQ(frameOf("00:01:30:12", kPal), 2262u);
  EXPECT_EQ(frameOf("00:01:00:00", kNtsc), 1800u) << "30 frames a second of the timecode";
}

TEST(FramePlace, LeavesOutTheNumbersThatDropFrameTimecodesLack) {
  // SMPTE ST 12-1: two numbers in each minute but every tenth.
  EXPECT_EQ(frameOf("00:00:59;29", kNtsc), 1799u);
  EXPECT_EQ(frameOf("00:01:00;02", kNtsc), 1800u);
  EXPECT_EQ(frameOf("00:10:00;00", kNtsc), 17982u);
  EXPECT_EQ(frameOf("01:00:00;00", kNtsc), 107892u);
  EXPECT_EQ(frameOf("00:01:00;04", kNtscDouble), 3600u);
}

TEST(FramePlace, RefusesTimecodesThatTheRateDoesNotHave) {
  EXPECT_THROW(frameOf("00:00:00:25", kPal), UserError);
  EXPECT_THROW(frameOf("00:00:01;00", kPal), UserError);
  EXPECT_THROW(frameOf("00:01:00;01", kNtsc), UserError);
  EXPECT_THROW(frameOf("1.0", FrameRate{}), UserError);
}

TEST(FramePlace, IsALengthInWholeFrames) {
  EXPECT_EQ(FramePlace::parse("10s")->frames(kNtsc), 300u);
  EXPECT_EQ(FramePlace::parse("0.02")->frames(kPal), 1u);
  EXPECT_EQ(FramePlace::parse("7")->frames(kPal), 7u);
}

TEST(FramePlace, IsNothingElse) {
  for (const char* text : {"",           "-1",           "x",
                           "1e3",        "4294967296",   "1.",
                           ".5",         "1.0000000001", "12:",
                           ":12",        "1:60",         "1:60:00",
                           "1::2",       "00:00:00:",    "00:00:00.5:01",
                           "1:2:3:4:5",  "0:30;10",      "00:00:00:1000",
                           " 1",         "1 ",           "0x10",
                           "10000:00:00"})
    EXPECT_FALSE(FramePlace::parse(text)) << text;
}

TEST(FrameSelection, OfADurationHasAFrameAtLeast) {
  FrameSelection selection;
  selection.from = *FramePlace::parse("10");
  selection.count = FramePlace::parse("0.001s");
  EXPECT_EQ(selection.range(kPal).from, 10u);
  EXPECT_EQ(selection.range(kPal).count, 1u);
  selection.count = FramePlace::parse("0.119s");
  EXPECT_EQ(selection.range(kPal).count, 3u);
}

TEST(FrameSelection, WithoutAnEndReachesTheLastNumberThatAFrameCanHave) {
  FrameSelection selection;
  selection.from = *FramePlace::parse("10");
  EXPECT_EQ(selection.range(kPal).from, 10u);
  EXPECT_EQ(selection.range(kPal).count, 4294967285u);
}

}  // namespace

}  // namespace fmp4
