// What opening a long recording costs, in host reads, bytes and memory rather than in seconds.
#include <gtest/gtest.h>

#include "streaming/index/audio_timeline.h"
#include "streaming/index/fragment_index.h"
#include "streaming/index/seek.h"
#include "tests/support/controlled_new.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

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
  std::unique_ptr<Mp4TopLevelReader> file;
  std::array<IndexedTrack, kTrackRoles> tracks;
  std::unique_ptr<FragmentIndex> index;
  std::size_t memory = 0;       // peak added by opening
  std::size_t allocations = 0;  // by opening

  explicit OpenedDay(std::uint32_t fragmentsPerSegment) {
    day.fragments = 2000;
    day.fragmentsPerSegment = fragmentsPerSegment;
    day.write(folder.file("day.mp4"));
    stream.open(folder.file("day.mp4").c_str(), MP4_MODE_READ);
    const CountingNew counting;
    file = Mp4ReadRoot(stream, false);
    tracks[kVideoTrack] = {1, 30, nullptr};
    tracks[kAudioTrack] = {2, 48000, nullptr};
    index = std::make_unique<FragmentIndex>(*file, tracks, FrameRate{30, 1});
    index->countAudio(tracks[kAudioTrack], AudioClock(48000, 48000, 1024));
    EXPECT_TRUE(index->build().ok());
    EXPECT_EQ(index->total(kVideoTrack), 2000u * DayFile::kVideoSamples);
    memory = counting.peakBytes();
    allocations = counting.allocations();
  }

  // Starts counting reads anew.
  void forgetReads() { stream.reads = stream.bytes = 0; }
};

class OpenCost : public testing::TestWithParam<std::uint32_t> {};

TEST_P(OpenCost, ReadsEachFragmentHeaderOnceAndLittleElse) {
  const OpenedDay opened(GetParam());
  const std::uint32_t indexes = GetParam() ? opened.day.fragments / GetParam() : 0;
  EXPECT_LE(opened.stream.bytes, opened.day.moofBytes * 6 / 5 + 64 * opened.day.fragments);
  EXPECT_LE(opened.stream.reads, opened.day.fragments + indexes + 20);
}

TEST_P(OpenCost, StaysBelowAHundredBytesPerFragmentAndAllocatesBlocks) {
  const OpenedDay opened(GetParam());
  EXPECT_LT(opened.memory / opened.day.fragments, 100u);
  EXPECT_LT(opened.allocations, opened.day.fragments * 7 / 10 + 100);
}

TEST_P(OpenCost, AJumpReadsAFragmentHeaderAndOneSample) {
  OpenedDay opened(GetParam());
  TrackCursor cursor(opened.tracks[kVideoTrack]);
  for (const std::uint32_t frame : {59999u, 0u, 30000u, 12345u}) {
    opened.forgetReads();
    ASSERT_TRUE(SeekVideoFrame(*opened.index, frame, cursor).ok());
    Bytes sample(cursor.sampleSize());
    ASSERT_TRUE(cursor.read(*opened.index, sample.data()).ok());
    EXPECT_LE(opened.stream.reads, 2u) << frame;
    EXPECT_LE(opened.stream.bytes, 4096 + sample.size()) << frame;
  }
}

TEST_P(OpenCost, TheNextSamplesOfAFragmentReadNothingElse) {
  OpenedDay opened(GetParam());
  TrackCursor cursor(opened.tracks[kVideoTrack]);
  ASSERT_TRUE(SeekVideoFrame(*opened.index, 30000, cursor).ok());
  Bytes sample(1 << 20);
  for (std::uint32_t i = 0; i < DayFile::kVideoSamples; ++i) {
    ASSERT_EQ(cursor.advance(*opened.index), Advance::Ready);
    opened.forgetReads();
    ASSERT_TRUE(cursor.read(*opened.index, sample.data()).ok());
    EXPECT_LE(opened.stream.reads, 1u) << i;
    EXPECT_LE(opened.stream.bytes, cursor.sampleSize()) << i;
    cursor.next();
  }
}

TEST_P(OpenCost, TheAudioTimelineReadsNothingAndKeepsLittle) {
  OpenedDay opened(GetParam());
  opened.forgetReads();
  const CountingNew counting;
  const AudioTimeline timeline(*opened.index, opened.tracks[kAudioTrack], 0, AudioClock(48000, 48000, 1024));
  EXPECT_EQ(opened.stream.reads, 0u);
  EXPECT_LT(counting.peakBytes(), opened.day.fragments * 4u);
  EXPECT_EQ(timeline.units(), 2000u * DayFile::kAudioSamples);
  const auto unit = timeline.at(*opened.index, 1234 * DayFile::kAudioSamples + 5);
  ASSERT_TRUE(unit);
  EXPECT_EQ(unit->fragmentIndex, 1234u);
  EXPECT_EQ(unit->sampleIndex, 5u);
  EXPECT_EQ(unit->clock.position(), (1234u * DayFile::kAudioSamples + 5) * 1024u);
  EXPECT_EQ(opened.stream.reads, 1u);
}

INSTANTIATE_TEST_SUITE_P(Layouts, OpenCost, testing::Values(0u, 10u), [](const auto& info) {
  return std::string(info.param ? "WithSegmentIndexes" : "Plain");
});

}  // namespace

}  // namespace fmp4
