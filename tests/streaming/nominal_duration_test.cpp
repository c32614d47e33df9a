// Which duration counts as a track's when its samples differ.
#include "streaming/index/nominal_duration.h"

#include <gtest/gtest.h>

#include "tests/streaming/index_fixture.h"
#include "tests/support/file_tree.h"

namespace fmp4 {

namespace {

struct Group {
  std::uint32_t duration;
  std::uint64_t count;
};

// Each list is a fragment. Those after the one that settles it are given too.
std::uint32_t nominalOf(const std::vector<std::vector<Group>>& fragments, std::uint32_t trackDefault = 0) {
  NominalDuration nominal(trackDefault);
  for (const auto& fragment : fragments) {
    for (const Group& group : fragment) nominal.addSamples(group.duration, group.count);
    nominal.endFragment();
  }
  return nominal.value();
}

TEST(NominalDuration, IsTheTracksDefaultWhateverTheSamplesSay) {
  EXPECT_EQ(nominalOf({{{512, 30}}}, 1000), 1000u);
  EXPECT_TRUE(NominalDuration(1000).converged());
}

TEST(NominalDuration, IsTheOneThatMostSamplesHave) {
  EXPECT_EQ(nominalOf({{{786, 1}, {512, 24}}}), 512u);
  EXPECT_EQ(nominalOf({{{512, 1}, {786, 2}}}), 786u);
  EXPECT_EQ(nominalOf({{{300, 3}, {200, 5}, {300, 4}, {200, 1}}}), 300u);
}

TEST(NominalDuration, IsTheSmallestOfEquallyCommonOnes) {
  EXPECT_EQ(nominalOf({{{300, 3}, {200, 3}, {400, 2}}}), 200u);
  EXPECT_EQ(nominalOf({{{200, 3}, {300, 3}}}), 200u);
}

TEST(NominalDuration, LooksAtAsManyFragmentsAsHold24Samples) {
  EXPECT_EQ(nominalOf({{{500, 23}}, {{1000, 30}}, {{500, 100}}}), 1000u);
  EXPECT_EQ(nominalOf({{{500, 24}}, {{1000, 30}}}), 500u);
  EXPECT_EQ(nominalOf({{{500, 12}}, {}, {{500, 12}}, {{1000, 30}}}), 500u);
  NominalDuration nominal;
  nominal.addSamples(500, 24);
  EXPECT_FALSE(nominal.converged()) << "a fragment counts completely";
  nominal.addSamples(1000, 25);
  nominal.endFragment();
  EXPECT_TRUE(nominal.converged());
  EXPECT_EQ(nominal.value(), 1000u);
}

TEST(NominalDuration, LooksAtNoMoreThan64FragmentsThatCarryTheTrack) {
  NominalDuration nominal;
  for (int i = 0; i < 63; ++i) {
    nominal.addSamples(0, 25);
    nominal.endFragment();
    nominal.endFragment();  // one without the track
  }
  EXPECT_FALSE(nominal.converged());
  nominal.addSamples(0, 24);
  nominal.addSamples(500, 1);
  nominal.endFragment();
  EXPECT_TRUE(nominal.converged());
  nominal.addSamples(600, 20);
  nominal.endFragment();
  EXPECT_EQ(nominal.value(), 500u);
}

TEST(NominalDuration, SamplesWithoutDurationAreIgnored) {
  EXPECT_EQ(nominalOf({{{0, 20}, {500, 1}}}), 500u);
  EXPECT_EQ(nominalOf({{{0, 30}}, {{500, 3}}, {{0, 50}}}), 500u);
  EXPECT_EQ(nominalOf({{{0, 30}}}), 0u);
  EXPECT_EQ(nominalOf({}), 0u);
}

TEST(NominalDuration, OfAFragmentCountsItsSamplesDurationsAndItsDefault) {
  TrafSpec traf;
  traf.flags = kBaseIsMoof | kDefaultDuration;
  traf.duration = 700;
  const SampleSpec own[] = {sampleOf(5, 1, 786), sampleOf(5, 2, 512), sampleOf(5, 3, 512)};
  traf.runs = {RunSpec{kRunDataOffset | kRunSize | kRunDuration, {own[0], own[1], own[2]}},
               RunSpec{kRunDataOffset | kRunSize, {own[0], own[1], own[2]}}};
  const Bytes bytes = fragment(1, {traf});
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  const FileTree root(stream, true);
  const TrackFragment track = readTrackFragment(root->first, 1);
  NominalDuration nominal;
  nominal.addFragment(track, SampleDefaults(track.tfhd, nullptr));
  EXPECT_EQ(nominal.value(), 700u);
}

TEST(NominalDuration, AFragmentOfMillionsOfDurationsCostsBoundedMemory) {
  NominalDuration nominal;
  nominal.addSamples(7, 2);
  for (std::uint32_t i = 0; i < 3'000'000; ++i) nominal.addSamples(1000 + i);
  nominal.addSamples(9, 5'000'000);
  nominal.endFragment();
  EXPECT_EQ(nominal.value(), 7u) << "the first 65,536 decide for all";
}

TEST(NominalDuration, FragmentsOfNoSamplesAreNotCounted) {
  NominalDuration nominal;
  for (int i = 0; i < 64; ++i) {
    nominal.addSamples(500, 0);
    nominal.endFragment();
  }
  EXPECT_FALSE(nominal.converged());
}

}  // namespace

}  // namespace fmp4
