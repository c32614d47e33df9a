// A fragmented file read as it arrives: what of it is damage, and what is not.
#include "tool/source/fragment_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "base/user_error.h"
#include "tests/support/fragments.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;

// The samples of all fragments; bytes arrive a thousand at a time at most.
std::size_t samplesIn(const Bytes& bytes, bool endAsked = false) {
  std::size_t at = 0, samples = 0;
  FragmentStream stream(
      "input", {[&](std::span<std::uint8_t> to) {
                  const std::size_t count = std::min({to.size(), bytes.size() - at, std::size_t{1000}});
                  std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), count, to.begin());
                  at += count;
                  return count;
                },
                [endAsked] { return endAsked; }});
  while (stream.more()) samples += stream.tracks().at(0).samples.size();
  return samples;
}
std::string damageOf(const Bytes& bytes) {
  try {
    samplesIn(bytes);
  } catch (const UserError& error) {
    return error.what();
  }
  return "";
}

Bytes start() {
  return join({fileTypeBox(), movieBox({videoTrack()})});
}
Bytes threeSamples(std::uint32_t number = 1) {
  TrafSpec traf;
  traf.runs = {RunSpec{kRunDataOffset | kRunSize, {sampleOf(10, 1), sampleOf(20, 2), sampleOf(30, 3)}}};
  return fragment(number, {traf});
}
Bytes withoutData(const Bytes& fragment) {
  return Bytes(fragment.begin(), fragment.end() - 60 - 8);
}

TEST(FragmentStream, PassesMediaDataWithoutAFragment) {
  EXPECT_EQ(samplesIn(join({start(), box("mdat", {zeros(5)}), threeSamples(), threeSamples(2)})), 6u);
}

TEST(FragmentStream, EndsBetweenBoxesOnly) {
  const Bytes whole = join({start(), threeSamples()});
  EXPECT_EQ(samplesIn(whole), 3u);
  EXPECT_THAT(damageOf(join({whole, Bytes(4)})),
              HasSubstr("it ends inside a box, after " + std::to_string(whole.size() + 4) + " bytes"));
  EXPECT_EQ(samplesIn(join({whole, Bytes(4)}), true), 3u) << "anywhere when that was asked for";
}

TEST(FragmentStream, NeedsTheDataOfAFragment) {
  const Bytes bytes = join({start(), threeSamples(), withoutData(threeSamples(2))});
  EXPECT_THAT(damageOf(bytes), HasSubstr("a fragment has no media data"));
  EXPECT_EQ(samplesIn(bytes, true), 3u);
}

TEST(FragmentStream, RefusesBoxesThatCannotBe) {
  const Bytes begin = start();
  EXPECT_THAT(damageOf(join({begin, boxOfSize(7, "free")})),
              HasSubstr("no box starts at byte " + std::to_string(begin.size())));
  EXPECT_THAT(damageOf(join({fileTypeBox(), boxOfSize((64u << 20) + 9, "moov")})),
              HasSubstr("its movie box is too large"));
}

TEST(FragmentStream, RefusesSamplesThatReachPastTheirData) {
  Bytes bytes = threeSamples();
  bytes.pop_back();
  const Bytes size = u32(8 + 59);
  std::copy(size.begin(), size.end(), bytes.end() - 59 - 8);
  EXPECT_THAT(damageOf(join({start(), bytes})),
              HasSubstr("a sample lies outside of its fragment's media data"));
}

TEST(FragmentStream, RefusesMoreSamplesThanItHolds) {
  constexpr std::uint32_t kMost = 1u << 22;
  RunSpec run{kRunDataOffset};
  run.count = kMost + 1;
  run.samples = {{zeros(kMost + 1)}};
  TrafSpec traf;
  traf.flags = kBaseIsMoof | kDefaultSize;
  traf.size = 1;
  traf.runs = {run};
  EXPECT_THAT(damageOf(join({start(), fragment(1, {traf})})),
              HasSubstr("a fragment claims too many samples"));
}

}  // namespace

}  // namespace fmp4
