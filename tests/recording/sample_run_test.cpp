// Samples that wait to be written.
#include "recording/write/sample_run.h"

#include <gtest/gtest.h>

#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

TEST(SampleRun, TakesFromTheFirstThatHasNotBeenDropped) {
  SampleRun run;
  for (std::uint8_t i = 0; i < 10; ++i) {
    ASSERT_TRUE(run.reserve(3));
    run.append({}, Bytes(std::size_t{1} + i % 3, i));
  }
  for (std::uint8_t first = 0; first < 9; ++first) {
    mp4::TrackRunBox box;
    const auto bytes = run.take(2, box);
    const Bytes expected =
        join({Bytes(std::size_t{1} + first % 3, first),
              Bytes(std::size_t{1} + (first + 1) % 3, static_cast<std::uint8_t>(first + 1))});
    EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), expected) << int{first};
    EXPECT_EQ(box.sampleCount, 2u);
    EXPECT_EQ(run.count(), 10u - first);
    run.drop(1);
  }
}

}  // namespace

}  // namespace fmp4
