#include "tool/source/sample_list.h"

#include <gtest/gtest.h>

#include <random>

namespace fmp4 {

namespace {

bool operator==(const SourceSample& a, const SourceSample& b) {
  return a.offset == b.offset && a.size == b.size && a.key == b.key && a.decodeTime == b.decodeTime &&
         a.duration == b.duration && a.compositionOffset == b.compositionOffset;
}

// Samples as files have them, with a change of each kind now and then.
std::vector<SourceSample> anySamples(std::size_t count) {
  std::mt19937 generator(1);
  const auto below = [&](std::uint32_t bound) { return static_cast<std::uint32_t>(generator()) % bound; };
  const auto rarely = [&] { return below(50) == 0; };
  std::vector<SourceSample> samples;
  SourceSample next{.offset = 1000, .duration = 512};
  for (std::size_t i = 0; i < count; ++i) {
    next.size = below(5000);
    if (rarely()) next.offset += below(100);
    if (rarely()) next.decodeTime += below(100);
    if (rarely()) next.duration = below(1000);
    next.key = rarely();
    if (i > count / 2) next.compositionOffset = static_cast<std::int32_t>(below(7)) - 3;
    samples.push_back(next);
    next.offset += next.size;
    next.decodeTime += next.duration;
  }
  return samples;
}

SampleList listOf(const std::vector<SourceSample>& samples) {
  SampleList list;
  for (const SourceSample& sample : samples) list.push_back(sample);
  return list;
}

TEST(SampleList, GivesTheSamplesThatItHasTakenInAnyOrder) {
  const std::vector<SourceSample> samples = anySamples(3000);
  const SampleList list = listOf(samples);
  ASSERT_EQ(list.size(), samples.size());
  std::size_t index = 0;
  for (const SourceSample sample : list) EXPECT_TRUE(sample == samples[index++]) << index;
  for (index = samples.size(); index-- > 0;) EXPECT_TRUE(list[index] == samples[index]) << index;
  std::mt19937 generator(2);
  for (int i = 0; i < 3000; ++i) {
    index = generator() % samples.size();
    EXPECT_TRUE(list[index] == samples[index]) << index;
  }
}

TEST(SampleList, GivesTheSamplesWhileItGrows) {
  const std::vector<SourceSample> samples = anySamples(1000);
  SampleList list;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    list.push_back(samples[i]);
    EXPECT_TRUE(list.back() == samples[i]) << i;
    EXPECT_TRUE(list[i / 2] == samples[i / 2]) << i;
  }
  EXPECT_TRUE(list.front() == samples.front());
}

TEST(SampleList, PiecesEndAtTheFirstGapAndAtTheLimit) {
  SampleList list;
  for (std::uint64_t i = 0; i < 400; ++i)
    list.push_back({.offset = i * 10, .size = 10, .key = i % 7 == 0, .decodeTime = i, .duration = 1});
  list.push_back({.offset = 5000, .size = 10, .decodeTime = 400, .duration = 1});
  EXPECT_EQ(list.bytesInOnePiece(0, 10000), 4000u);
  EXPECT_EQ(list.bytesInOnePiece(390, 10000), 100u);
  EXPECT_EQ(list.bytesInOnePiece(0, 105), 100u);
  EXPECT_EQ(list.bytesInOnePiece(0, 1), 10u) << "at least the sample";
  EXPECT_EQ(list.bytesInOnePiece(400, 10000), 10u);
}

TEST(SampleList, AnEmptyOneHasNone) {
  SampleList list = listOf(anySamples(10));
  list.clear();
  EXPECT_TRUE(list.empty());
  EXPECT_TRUE(list.begin() == list.end());
}

TEST(SampleList, GivesPiecesOfAtMostSoManyBytes) {
  const SampleList list =
      listOf({{.offset = 100, .size = 10}, {.offset = 110, .size = 20}, {.offset = 130, .size = 5}});
  EXPECT_EQ(list.bytesInOnePiece(0, 29), 10u);
  EXPECT_EQ(list.bytesInOnePiece(0, 30), 30u);
  EXPECT_EQ(list.bytesInOnePiece(0, 35), 35u);
  EXPECT_EQ(list.bytesInOnePiece(1, 1), 20u) << "one sample at least";
}

}  // namespace

}  // namespace fmp4
