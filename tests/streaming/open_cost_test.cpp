// What opening a long recording costs, in host reads, bytes and memory rather than in seconds.
#include <gtest/gtest.h>

#include "streaming/index/fragment_index.h"
#include "streaming/index/seek.h"
#include "tests/support/controlled_new.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"

namespace {

// Counts the reads and bytes asked of the host.
class CountingStream : public Mp4Stream {
 public:
  std::int64_t read(void* buffer, std::int64_t count) override {
    return counted(Mp4Stream::read(buffer, count));
  }
  std::int64_t peek(void* buffer, std::int64_t count) override {
    const std::uint64_t position = tell();
    const std::int64_t done = Mp4Stream::read(buffer, count);
    seek(position);
    return counted(done);
  }
  std::uint64_t reads = 0;
  std::uint64_t bytes = 0;

 private:
  std::int64_t counted(std::int64_t done) {
    ++reads;
    bytes += static_cast<std::uint64_t>(done);
    return done;
  }
};

struct OpenedDay {
  TempFolder folder;
  DayFile day;
  CountingStream stream;
  Mp4BoxPtr root;
  std::array<IndexedTrack, kTrackRoles> tracks;
  std::unique_ptr<FragmentIndex> index;
  std::size_t memory = 0;  // peak added by opening

  explicit OpenedDay(std::uint32_t fragmentsPerSegment) {
    day.fragments = 2000;
    day.fragmentsPerSegment = fragmentsPerSegment;
    day.write(folder.file("day.mp4"));
    stream.open(folder.file("day.mp4").c_str(), MP4_MODE_READ);
    const CountingNew counting;
    root.reset(Mp4ReadRoot(stream, true));
    tracks[kVideoTrack] = {1, 30, nullptr};
    tracks[kAudioTrack] = {2, 48000, nullptr};
    index = std::make_unique<FragmentIndex>(stream, root.get(), tracks, FrameRate{30, 1});
    EXPECT_EQ(index->build(), 0);
    EXPECT_EQ(index->total(kVideoTrack), 2000u * DayFile::kVideoSamples);
    memory = counting.peakBytes();
  }
};

class OpenCost : public testing::TestWithParam<std::uint32_t> {};

TEST_P(OpenCost, ReadsTheFragmentHeadersAndLittleElse) {
  const OpenedDay opened(GetParam());
  EXPECT_LE(opened.stream.bytes, opened.day.moofBytes * 6 / 5 + 64 * opened.day.fragments);
  EXPECT_LE(opened.stream.reads, opened.day.fragments * 13 / 10 + 20);
}

TEST_P(OpenCost, StaysBelowThreeKilobytesPerFragment) {
  const OpenedDay opened(GetParam());
  EXPECT_LT(opened.memory / opened.day.fragments, 3000u);
}

TEST_P(OpenCost, ASeekReadsOneSampleAndNothingElse) {
  OpenedDay opened(GetParam());
  TrackCursor cursor = makeTrackCursor(opened.tracks[kVideoTrack]);
  for (const std::uint32_t frame : {59999u, 0u, 30000u, 12345u}) {
    opened.stream.reads = opened.stream.bytes = 0;
    ASSERT_EQ(SeekVideoFrame(*opened.index, frame, true, cursor), 0);
    EXPECT_EQ(opened.stream.reads, 0u) << "the index knows the offset";
    Bytes sample(cursor.sampleSize());
    ASSERT_EQ(readSample(*opened.index, cursor, sample.data()), 0);
    EXPECT_EQ(opened.stream.reads, 1u);
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, OpenCost, testing::Values(0u, 10u), [](const auto& info) {
  return std::string(info.param ? "WithSegmentIndexes" : "Plain");
});

}  // namespace
