// Whether the access units of a fragment can be passed at once.
#include "streaming/index/audio_clock.h"

#include <gtest/gtest.h>

namespace fmp4 {

namespace {

AudioClock clockOfSamples() {
  return {48000, 48000, 1024};
}

TEST(AudioClock, PassesAFragmentThatHasNoGap) {
  AudioClock clock = clockOfSamples();
  EXPECT_TRUE(clock.pass(AudioAmount{2, 2559, 511}));
  EXPECT_EQ(clock.position(), 2048u);
  // Stated 511 frames ahead: a further one makes half an access unit, with the frame for rounding.
  EXPECT_FALSE(clock.pass(AudioAmount{1, 1024, 1}));
  EXPECT_EQ(clock.position(), 2048u);
  EXPECT_TRUE(clock.pass(AudioAmount{1, 1024, 0}));
}

TEST(AudioClock, AddsAFrameForRounding) {
  AudioClock clock = clockOfSamples();
  EXPECT_FALSE(clock.pass(AudioAmount{2, 2560, 512}));
  EXPECT_EQ(clock.position(), 0u);
}

TEST(AudioCount, OfUnitsWithoutALeadIsUnknownWhereTheirTicksAre) {
  AudioCount count;
  count.add(clockOfSamples(), 1024, 1u << 22);
  EXPECT_EQ(count.amount().units, 1u << 22);
  EXPECT_EQ(count.amount().ticks, AudioAmount::kUnknown);
  EXPECT_EQ(count.amount().lead, AudioAmount::kUnknown);
}

TEST(AudioCount, ALongUnitAfterShortOnesDoesNotLead) {
  AudioCount count;
  count.add(clockOfSamples(), 1000, 10);
  count.add(clockOfSamples(), 1030);
  EXPECT_EQ(count.amount().lead, 0u);
  count.add(clockOfSamples(), 2048);
  EXPECT_EQ(count.amount().lead, 13078u + 1 - 12 * 1024);
}

}  // namespace

}  // namespace fmp4
