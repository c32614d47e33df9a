// How many access units are decoded to get to a position, over the seeks of a track.
#include "plugin/pre_roll.h"

#include <gtest/gtest.h>

#include <random>

namespace fmp4 {

namespace {

// A track in which decoding converges `convergence` access units after the first place, every `period` access
// units, where it may start.
class Track {
 public:
  Track(std::uint64_t period, std::uint64_t convergence) : m_period(period), m_convergence(convergence) {}

  void Seek(std::uint64_t target) {
    const Result result = m_preRoll.decodeBefore(target, [&](std::uint64_t first) {
      decoded += target - first;
      const std::uint64_t converged = (first + m_period - 1) / m_period * m_period + m_convergence;
      reached = first == 0 || converged <= target;
      return PreRollResult{{}, converged <= target, converged <= target ? target - converged : 0};
    });
    EXPECT_TRUE(result.ok());
    const std::uint64_t latest = target - std::min(m_convergence, target);
    needed += target - latest / m_period * m_period;
  }

  std::uint64_t decoded = 0;  // access units
  std::uint64_t needed = 0;   // the fewest that converge
  bool reached = false;       // the last seek converged

 private:
  std::uint64_t m_period;
  std::uint64_t m_convergence;
  PreRoll m_preRoll;
};

TEST(PreRoll, IsOneAccessUnitWhereThatIsEnough) {
  Track track(1, 1);
  for (std::uint64_t target : {5u, 900u, 3u, 77u}) track.Seek(target);
  EXPECT_EQ(4u, track.decoded);
}

TEST(PreRoll, StartsAtTheTracksStartIfThatIsNearer) {
  Track track(50, 16);
  for (std::uint64_t target : {0u, 1u, 9u}) track.Seek(target);
  EXPECT_TRUE(track.reached);
  EXPECT_EQ(0u + 1u + (1u + 9u), track.decoded);
}

TEST(PreRoll, GrowsUntilTheDecoderHasConverged) {
  Track track(50, 16);
  track.Seek(1015);  // the latest start is 950
  EXPECT_TRUE(track.reached);
  EXPECT_EQ(1u + 24u + 32u + 42u + 54u + 69u, track.decoded);
  track.decoded = 0;
  track.Seek(2000);
  EXPECT_EQ(69u, track.decoded);
}

// Half a second is twelve access units of HE-AAC at 48 kHz.
TEST(PreRoll, CostsLessThanTwiceTheFewestAccessUnits) {
  constexpr std::uint64_t kPlayed = 12;
  for (const std::uint64_t period : {1u, 5u, 10u, 20u, 43u}) {
    Track track(period, 16);
    std::mt19937 random(static_cast<unsigned>(period));
    constexpr std::uint64_t kSeeks = 300;
    for (std::uint64_t i = 0; i < kSeeks; ++i) {
      track.Seek(1000 + random() % 100000);
      EXPECT_TRUE(track.reached);
    }
    EXPECT_LE(track.decoded + kSeeks * kPlayed, 2 * (track.needed + kSeeks * kPlayed)) << period;
  }
}

TEST(PreRoll, ForgetsAPlaceThatNeededMore) {
  PreRoll preRoll;
  std::uint64_t decoded = 0;
  const auto seek = [&](std::uint64_t needed) {
    const Result result = preRoll.decodeBefore(100000, [&](std::uint64_t first) {
      const std::uint64_t units = 100000 - first;
      decoded += units;
      return PreRollResult{{}, units >= needed, units >= needed ? units - needed : 0};
    });
    EXPECT_TRUE(result.ok());
  };
  seek(1000);
  for (int i = 0; i < 32; ++i) seek(20);
  decoded = 0;
  seek(20);
  EXPECT_EQ(20u, decoded);
}

TEST(PreRoll, EndsWhereNothingConverges) {
  PreRoll preRoll;
  std::uint64_t longest = 0;
  for (int i = 0; i < 2; ++i) {
    const Result result = preRoll.decodeBefore(100000, [&](std::uint64_t first) {
      longest = std::max(longest, 100000 - first);
      return PreRollResult{{}, false, 0};
    });
    EXPECT_TRUE(result.ok());
  }
  EXPECT_GE(longest, PreRoll::kMaxUnits);
  EXPECT_LT(longest, 2 * PreRoll::kMaxUnits);
  EXPECT_EQ(preRoll.decodeBefore(100000,
                                 [](std::uint64_t) {
                                   return PreRollResult{
                                       .decoded = Defect::OutOfMemory, .converged = false, .spare = 0};
                                 }),
            Defect::OutOfMemory);
}

}  // namespace

}  // namespace fmp4
