// What verification notes of tracks that do not play together.
#include "recording/check/track_timeline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fmp4 {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Gaps = std::vector<TrackTimeline::Gap>;

// A track of ten seconds.
TrackTimeline track(const Gaps& gaps = {}, double begin = 0, double end = 10) {
  TrackTimeline track;
  track.begin = begin;
  track.end = end;
  track.gaps = gaps;
  return track;
}

TEST(TimelineNotes, NameBeginningsAndEndsThatDiffer) {
  EXPECT_THAT(timelineNotes(track(), track({}, 0.5, 11)), IsEmpty());
  EXPECT_THAT(
      timelineNotes(track(), track({}, 0.75, 11.25)),
      ElementsAre("the audio begins 0.750 s after the video", "the audio ends 1.250 s after the video"));
  EXPECT_THAT(
      timelineNotes(track({}, 2, 10), track({}, 0, 8)),
      ElementsAre("the audio begins 2.000 s before the video", "the audio ends 2.000 s before the video"));
  EXPECT_THAT(timelineNotes(track(), track({}, 0, 9.25)), IsEmpty());
}

TEST(TimelineNotes, NamePausesOfOneTrack) {
  EXPECT_THAT(timelineNotes(track({{2, 3}}), track()),
              ElementsAre("the video pauses for 1.000 s at 2.000 s, the audio does not"));
  EXPECT_THAT(timelineNotes(track(), track({{2, 2.5}})), IsEmpty());
  EXPECT_THAT(timelineNotes(track(), track({{7, 8}, {2, 4}})),
              ElementsAre("the audio pauses for 2.000 s at 2.000 s, the video does not; the first of 2 such "
                          "pauses"));
}

TEST(TimelineNotes, JoinPausesThatOverlap) {
  EXPECT_THAT(timelineNotes(track({{2, 5}, {3, 4}}), track()),
              ElementsAre("the video pauses for 3.000 s at 2.000 s, the audio does not"));
  EXPECT_THAT(timelineNotes(track({{2, 2.25}, {2.25, 3}}), track()),
              ElementsAre("the video pauses for 1.000 s at 2.000 s, the audio does not"));
  EXPECT_THAT(timelineNotes(track({{2, 2.25}, {3, 3.25}}), track()), IsEmpty());
}

TEST(TimelineNotes, IgnoreStepsBackwards) {
  EXPECT_THAT(timelineNotes(track({{4, 3}, {6, 5}}), track()), IsEmpty());
}

TEST(TimelineNotes, LeaveOutPausesOfBoth) {
  EXPECT_THAT(timelineNotes(track({{2, 3}}), track({{2, 3}})), IsEmpty());
  EXPECT_THAT(timelineNotes(track({{2, 3}}), track({{1, 2.75}})),
              ElementsAre("the audio pauses for 1.750 s at 1.000 s, the video does not"));
  // Two of the audio's lie in one of the video's, of which 1.5 s are left.
  EXPECT_THAT(timelineNotes(track({{2, 5}}), track({{2, 3}, {4, 4.5}})),
              ElementsAre("the video pauses for 3.000 s at 2.000 s, the audio does not"));
  // Those before and after do not count.
  EXPECT_THAT(timelineNotes(track({{4, 5}}), track({{1, 2}, {6, 7}})),
              ElementsAre("the video pauses for 1.000 s at 4.000 s, the audio does not",
                          "the audio pauses for 1.000 s at 1.000 s, the video does not; the first of 2 such "
                          "pauses"));
}

TEST(TimelineNotes, CountThePartOfAPauseThatIsAlone) {
  EXPECT_THAT(timelineNotes(track({{2, 4}}), track({{0.5, 2.5}})),
              ElementsAre("the video pauses for 2.000 s at 2.000 s, the audio does not",
                          "the audio pauses for 2.000 s at 0.500 s, the video does not"));
}

TEST(TimelineNotes, AddNothingToAShortPause) {
  EXPECT_THAT(timelineNotes(track({{4, 4.25}}), track({{1, 2}})),
              ElementsAre("the audio pauses for 1.000 s at 1.000 s, the video does not"));
  EXPECT_THAT(timelineNotes(track({{4, 4.25}}), track({{6, 7}})),
              ElementsAre("the audio pauses for 1.000 s at 6.000 s, the video does not"));
  EXPECT_THAT(timelineNotes(track({{2, 2.4}}), track({{2.3, 2.1}})), IsEmpty()) << "a step backwards";
}

}  // namespace

}  // namespace fmp4
