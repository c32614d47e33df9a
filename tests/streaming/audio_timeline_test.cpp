#include "streaming/index/audio_timeline.h"

#include <gtest/gtest.h>

#include "tests/streaming/index_fixture.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kAudioRole = kAudioTrack;

// Audio fragments whose access units have the given durations, one list per run.
Bytes audioFragment(std::uint32_t sequence, const std::vector<std::vector<std::uint32_t>>& runs) {
  TrafSpec traf;
  traf.trackId = 2;
  for (const auto& durations : runs) {
    RunSpec run{kRunDataOffset | kRunSize | kRunDuration};
    for (const std::uint32_t duration : durations) run.samples.push_back(sampleOf(4, sequence, duration));
    traf.runs.push_back(run);
  }
  return fragment(sequence, {traf});
}

struct Timed {
  IndexedFile file;
  FragmentIndex& index;
  AudioTimeline timeline;

  explicit Timed(Bytes content, std::uint32_t timescale = 48000, std::uint32_t sampleRate = 48000)
      : file(std::move(content)),
        index(counting(file.with(kAudioTrack, timescale, trackDefaults(1024)), timescale, sampleRate)),
        timeline(index, file.tracks[kAudioRole], 0, *file.clock) {}

  static FragmentIndex& counting(IndexedFile& file, std::uint32_t timescale, std::uint32_t sampleRate) {
    file.clock = AudioClock(timescale, sampleRate, 1024);
    return file.build();
  }

  // The start of the access unit that contains a position.
  std::uint64_t startAt(std::uint64_t position) {
    return timeline.find(index, position).value().clock.position();
  }
};

TEST(AudioTimeline, UnitsFollowEachOtherOverRunsAndFragments) {
  Timed timed(join({audioFragment(1, {{1024, 1024}, {1024}}), audioFragment(5, {{1024, 1024}})}));
  EXPECT_EQ(timed.timeline.length(), 5u * 1024);
  for (std::uint64_t position : {0u, 1023u, 1024u, 3000u, 3072u, 4095u, 5119u}) {
    EXPECT_EQ(timed.startAt(position), position / 1024 * 1024) << position;
  }
  auto unit = timed.timeline.find(timed.index, 3072);
  ASSERT_TRUE(unit);
  EXPECT_EQ(unit->fragmentIndex, 4u);
  EXPECT_EQ(unit->trunIndex, 0u);
  EXPECT_EQ(unit->sampleIndex, 0u);
  EXPECT_EQ(unit->number, 3u);
}

TEST(AudioTimeline, UnitsAreCountedOverRunsAndFragments) {
  Timed timed(join({audioFragment(1, {{1024, 1024}, {}, {1024}}), audioFragment(5, {{1024, 1024}})}));
  auto unit = timed.timeline.at(timed.index, 2);
  ASSERT_TRUE(unit);
  EXPECT_EQ(unit->fragmentIndex, 0u);
  EXPECT_EQ(unit->trunIndex, 2u);
  EXPECT_EQ(unit->sampleIndex, 0u);
  EXPECT_EQ(unit->clock.position(), 2048u);
  unit = timed.timeline.at(timed.index, 4);
  ASSERT_TRUE(unit);
  EXPECT_EQ(unit->fragmentIndex, 4u);
  EXPECT_EQ(unit->sampleIndex, 1u);
  EXPECT_EQ(unit->number, 4u);
  unit = timed.timeline.at(timed.index, 0);
  ASSERT_TRUE(unit);
  EXPECT_EQ(unit->clock.position(), 0u);
  EXPECT_FALSE(timed.timeline.at(timed.index, 5));
}

TEST(AudioTimeline, ADurationHalfAUnitTooLongIsAGap) {
  Timed gap(audioFragment(1, {{1024 + 512, 1024}}));
  EXPECT_EQ(gap.startAt(1535), 0u);
  EXPECT_EQ(gap.startAt(1536), 1536u);
  Timed rounding(audioFragment(1, {{1024 + 511, 1024}}));
  EXPECT_EQ(rounding.startAt(1024), 1024u) << "less than half a unit is rounding";
}

TEST(AudioTimeline, RoundingThatAddsUpToHalfAUnitIsAGapToo) {
  Timed timed(audioFragment(1, {{1224, 1224, 1224, 1024}}));
  EXPECT_EQ(timed.startAt(1024), 1024u);
  EXPECT_EQ(timed.startAt(2048), 2048u);
  EXPECT_EQ(timed.startAt(3671), 2048u);
  EXPECT_EQ(timed.startAt(3672), 3672u);
}

TEST(AudioTimeline, DurationsShorterThanTheDecodedUnitsShiftNothing) {
  Timed timed(audioFragment(1, {{0, 0, 0}}));
  EXPECT_EQ(timed.startAt(2047), 1024u);
  EXPECT_EQ(timed.startAt(99999), 2048u);
}

TEST(AudioTimeline, AnotherTimescaleIsConvertedExactly) {
  // 1024 frames at 44100 Hz are 23.22 ms: stated in milliseconds they are 23 or 24.
  std::vector<std::uint32_t> durations;
  for (std::uint64_t i = 0; i < 400; ++i) {
    durations.push_back(static_cast<std::uint32_t>((i + 1) * 1024 * 1000 / 44100 - i * 1024 * 1000 / 44100));
  }
  Timed timed(audioFragment(1, {durations}), 1000, 44100);
  for (std::uint64_t unit = 0; unit < 400; ++unit) EXPECT_EQ(timed.startAt(unit * 1024 + 5), unit * 1024);
}

TEST(AudioTimeline, ADayOfDefaultDurationsIsSkippedAtOnce) {
  TrafSpec traf;
  traf.trackId = 2;
  RunSpec run{kRunDataOffset};
  run.count = 4000000;
  traf.runs = {run};
  // The file has the units' bytes.
  IndexedFile file(join({fragment(1, {traf}), box("free", {zeros(4000000)})}));
  file.with(kAudioTrack, 48000, trackDefaults(1024, 1));
  file.clock = AudioClock(48000, 48000, 1024);
  FragmentIndex& index = file.build();
  AudioTimeline timeline(index, file.tracks[kAudioRole], 0, *file.clock);
  EXPECT_EQ(timeline.length(), 4000000ull * 1024);
  auto unit = timeline.find(index, 3999999ull * 1024);
  ASSERT_TRUE(unit);
  EXPECT_EQ(unit->sampleIndex, 3999999u);
}

TEST(AudioTimeline, AClaimOfMoreUnitsThanTheFileHasBytesEndsTheTrack) {
  TrafSpec traf;
  traf.trackId = 2;
  RunSpec run{kRunDataOffset};
  run.count = 0xFFFFFFFF;
  traf.runs = {run};
  Timed timed(join({audioFragment(1, {{1024}}), fragment(2, {traf})}));
  EXPECT_EQ(timed.timeline.length(), 1024u);
}

TEST(AudioTimeline, ATrackWithoutUnitsHasNone) {
  Timed timed(videoFragment(1, 3));
  EXPECT_FALSE(timed.timeline.find(timed.index, 0));
}

// The bound holds for all fragments together: else each could count as many units as the file has bytes.
TEST(AudioTimeline, UnitsOfAllFragmentsAreNoMoreThanTheFileHasBytes) {
  TrafSpec traf;
  traf.trackId = 2;
  traf.flags = kBaseIsMoof | kDefaultDuration;
  traf.duration = 1000;  // not exactly a unit's
  RunSpec run{kRunDataOffset};
  run.count = 700;
  traf.runs = {run};
  Timed timed(
      join({fragment(1, {traf}), fragment(2, {traf}), fragment(3, {traf}), box("free", {zeros(1200)})}));
  ASSERT_LT(timed.file.bytes.size(), 2100u);
  ASSERT_GT(timed.file.bytes.size(), 1400u);
  EXPECT_EQ(timed.timeline.units(), 1400u);
  EXPECT_FALSE(timed.timeline.at(timed.index, 1400));
}

TEST(AudioTimeline, TracksLongerThanAStoredStartAreFoundEverywhere) {
  Bytes content;
  for (std::uint32_t i = 1; i <= 200; ++i) content = join({content, audioFragment(i, {{1024, 1024}})});
  Timed timed(content);
  EXPECT_EQ(timed.timeline.units(), 400u);
  for (std::uint64_t unit = 0; unit < 400; ++unit) {
    const auto found = timed.timeline.find(timed.index, unit * 1024 + 1023);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->number, unit);
    EXPECT_EQ(found->fragmentIndex, unit / 2);
    EXPECT_EQ(found->sampleIndex, unit % 2);
  }
}

TEST(AudioTimeline, FragmentsOfNoUnitsAtTheEndContainNone) {
  Timed timed(join({audioFragment(1, {{1024, 1024}}), audioFragment(2, {{}}), audioFragment(3, {{}})}));
  const auto last = timed.timeline.find(timed.index, 9999);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->number, 1u);
  EXPECT_EQ(last->fragmentIndex, 0u);
}

}  // namespace

}  // namespace fmp4
